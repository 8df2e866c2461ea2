#include <zant/velmora_host/families/host_kind.hpp>

#include <boost/algorithm/string/predicate.hpp>

#include <string>

namespace zant::velmora_host {
namespace {

// The library's own search; the unit tests compare the two.
velmora::Package_Config_Type find_family(velmora::Filesystem& filesystem) {
  using boost::algorithm::icontains;
  const std::string os_release = filesystem.read_file("/etc/os-release", velmora::Read_Flag::WHOLE_TEXT);
  if (icontains(os_release, "ubuntu") || icontains(os_release, "debian")) {
    return velmora::Package_Config_Type::APT;
  }
  return icontains(os_release, "rhel") ? velmora::Package_Config_Type::DNF
                                       : velmora::Package_Config_Type::None;
}

}  // namespace

Host_Kind find_host_kind(velmora::Filesystem& filesystem) {
  const bool has_systemd =
      filesystem.read_file("/proc/1/comm", velmora::Read_Flag::WITHOUT_LINE_END) == "systemd";
  return {find_family(filesystem), has_systemd ? velmora::Init::systemd : velmora::Init::other};
}

const char* to_string(velmora::Package_Config_Type family) {
  switch (family) {
    case velmora::Package_Config_Type::APT:
      return "APT";
    case velmora::Package_Config_Type::DNF:
      return "DNF";
    default:
      return "none";
  }
}

const char* to_string(velmora::Init init) {
  return init == velmora::Init::systemd ? "systemd" : "other";
}

}  // namespace zant::velmora_host
