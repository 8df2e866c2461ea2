#include <zant/velmora_host/base/json_document.hpp>

#include <zant/velmora_host/base/printable.hpp>

#include <nlohmann/json.hpp>

namespace zant::velmora_host::json_document {
namespace {

// Raised when a member is removed or changes its meaning; members may be added at any time.
constexpr int VERSION = 1;
constexpr int INDENT = 2;

}  // namespace

Json make(const std::string& kind) {
  return {{"format", "package-minder/" + kind}, {"version", VERSION}};
}

Json text_or_null(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

std::string text_of(const Json& document) {
  return printable_json(document.dump(INDENT, ' ', false, Json::error_handler_t::replace)) + "\n";
}

}  // namespace zant::velmora_host::json_document
