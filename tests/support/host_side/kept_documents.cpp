// Keeps every JSON document that a test makes as a file in the directory $DOCUMENTS_DIRECTORY, for
// tests/docs/schemas.py. The linker puts these between the tests and the functions that make documents: the
// reports' to_json, and json_document::text_of for the record and for failures. The names of the compiler's
// come from tests/unit/CMakeLists.txt.

#include <zant/velmora_host/base/json_document.hpp>

#include <boost/filesystem/path.hpp>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

namespace zant::velmora_host {

struct Status;
struct Plan;
struct Check_Report;

namespace {

using json_document::Json;

void keep(const std::string& text) {
  if (const char* const directory = std::getenv("DOCUMENTS_DIRECTORY")) {
    const auto name = std::to_string(std::hash<std::string>()(text)) + ".json";
    std::ofstream((boost::filesystem::path(directory) / name).string()) << text;
  }
}

}  // namespace

std::string real_text_of(const Json& document) asm("__real_" TEXT_OF);
std::string keep_text_of(const Json& document) asm("__wrap_" TEXT_OF);
[[gnu::weak]] Json real_to_json(const Status& report) asm("__real_" STATUS_TO_JSON);
Json keep_to_json(const Status& report) asm("__wrap_" STATUS_TO_JSON);
[[gnu::weak]] Json real_to_json(const Plan& report) asm("__real_" PLAN_TO_JSON);
Json keep_to_json(const Plan& report) asm("__wrap_" PLAN_TO_JSON);
[[gnu::weak]] Json real_to_json(const Check_Report& report) asm("__real_" CHECK_TO_JSON);
Json keep_to_json(const Check_Report& report) asm("__wrap_" CHECK_TO_JSON);

std::string keep_text_of(const Json& document) {
  const std::string text = real_text_of(document);
  keep(text);
  return text;
}

namespace {

template <typename Report>
Json make_and_keep(const Report& report) {
  Json document = real_to_json(report);
  keep(real_text_of(document));
  return document;
}

}  // namespace

Json keep_to_json(const Status& report) {
  return make_and_keep(report);
}

Json keep_to_json(const Plan& report) {
  return make_and_keep(report);
}

Json keep_to_json(const Check_Report& report) {
  return make_and_keep(report);
}

}  // namespace zant::velmora_host
