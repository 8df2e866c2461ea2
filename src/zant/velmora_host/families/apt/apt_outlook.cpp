#include <zant/velmora_host/families/apt/apt_outlook.hpp>

namespace zant::velmora_host::apt_outlook {

Upgrade_Outlook find(const Outlook_Question& /*question*/) {
  return {};
}

std::vector<boost::filesystem::path> inputs() {
  return {};
}

}  // namespace zant::velmora_host::apt_outlook
