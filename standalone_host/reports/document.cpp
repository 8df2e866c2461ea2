#include <standalone_host/reports/document.hpp>

#include <standalone_host/exit_status.hpp>

#include <nlohmann/json.hpp>

namespace zant::velmora::standalone_host::Document {
namespace {

// Raised when a member goes or changes its meaning; new members may come at any time.
constexpr int VERSION = 1;
constexpr int INDENT = 2;

const char* reason_code(int exit_status) {
  switch (exit_status) {
    case Exit_Status::WRONG_USAGE:
      return "wrong_usage";
    case Exit_Status::UNSUPPORTED_HOST:
      return "unsupported_host";
    case Exit_Status::BUSY:
      return "busy";
    case Exit_Status::NO_RIGHTS:
      return "no_rights";
    case Exit_Status::BAD_SETTINGS:
      return "bad_settings";
    default:
      return "failed";
  }
}

}  // namespace

Json make(const std::string& kind) {
  return {{"format", "package-minder/" + kind}, {"version", VERSION}};
}

Json make_failure(const std::string& kind, int exit_status, const std::vector<std::string>& messages) {
  Json document = make(kind);
  document["error"] = {
      {"code", reason_code(exit_status)}, {"exit_status", exit_status}, {"messages", messages}};
  return document;
}

std::string text_of(const Json& document) {
  return document.dump(INDENT, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace zant::velmora::standalone_host::Document
