// Keeps every JSON document that a test makes as a file in the directory $DOCUMENTS_DIRECTORY, for
// tests/docs/schemas.py. The linker puts this in the place of json_document::text_of, by which every document
// becomes text; the compiler's name for it comes from tests/unit/CMakeLists.txt.

#include <zant/velmora_host/base/json_document.hpp>

#include <boost/filesystem/path.hpp>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

namespace zant::velmora_host {

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

std::string keep_text_of(const Json& document) {
  const std::string text = real_text_of(document);
  keep(text);
  return text;
}

}  // namespace zant::velmora_host
