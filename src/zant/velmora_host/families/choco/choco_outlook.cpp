#include <zant/velmora_host/families/choco/choco_outlook.hpp>

namespace zant::velmora_host::choco_outlook {

Upgrade_Outlook find(const Outlook_Question& /*question*/) {
  return {};
}

std::vector<boost::filesystem::path> inputs() {
  return {};
}

}  // namespace zant::velmora_host::choco_outlook
