#include <zant/velmora_host/families/configured_causes.hpp>

namespace zant::velmora_host {

bool is_for_cycle(const Cause& cause) {
  static const std::set<std::string> codes = {"hold.held", "repository.not_registered", "timer.disabled",
                                              "timer.stopped"};
  return cause.remedy == "package-minder once" || codes.contains(cause.code);
}

void mark_configured(Causes& causes, const std::set<std::string>& codes) {
  for (auto& cause : causes) {
    cause.is_of_configuration = codes.contains(cause.code) && !is_for_cycle(cause);
  }
}

}  // namespace zant::velmora_host
