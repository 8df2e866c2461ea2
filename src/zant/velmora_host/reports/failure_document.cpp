#include <zant/velmora_host/reports/failure_document.hpp>

#include <zant/velmora_host/base/json_document.hpp>

#include <nlohmann/json.hpp>

namespace zant::velmora_host {

std::string failure_document(const std::string& kind, const std::string& code, int exit_status,
                             const std::vector<std::string>& messages) {
  auto document = json_document::make(kind);
  document["error"] = {{"code", code}, {"exit_status", exit_status}, {"messages", messages}};
  return json_document::text_of(document);
}

}  // namespace zant::velmora_host
