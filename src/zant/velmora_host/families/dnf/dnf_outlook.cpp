#include <zant/velmora_host/families/dnf/dnf_outlook.hpp>

namespace zant::velmora_host::dnf_outlook {

Upgrade_Outlook find(const Outlook_Question& /*question*/) {
  return {};
}

std::vector<boost::filesystem::path> inputs() {
  return {};
}

}  // namespace zant::velmora_host::dnf_outlook
