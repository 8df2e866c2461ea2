#include <standalone_host/reports/host_kind.hpp>

#include <boost/algorithm/string/predicate.hpp>

#include <string>

namespace zant::velmora::standalone_host {
namespace {

// The library's own search; the unit tests compare the two.
Package_Config_Type find_family(Filesystem& filesystem) {
  using boost::algorithm::icontains;
  const std::string os_release = filesystem.read_file("/etc/os-release", Read_Flag::WHOLE_TEXT);
  if (icontains(os_release, "ubuntu") || icontains(os_release, "debian")) {
    return Package_Config_Type::APT;
  }
  return icontains(os_release, "rhel") ? Package_Config_Type::DNF : Package_Config_Type::None;
}

}  // namespace

Host_Kind find_host_kind(Filesystem& filesystem) {
  const bool has_systemd = filesystem.read_file("/proc/1/comm", Read_Flag::WITHOUT_LINE_END) == "systemd";
  return {find_family(filesystem), has_systemd ? Init::systemd : Init::other};
}

const char* to_string(Package_Config_Type family) {
  switch (family) {
    case Package_Config_Type::APT:
      return "APT";
    case Package_Config_Type::DNF:
      return "DNF";
    default:
      return "none";
  }
}

const char* to_string(Init init) {
  return init == Init::systemd ? "systemd" : "other";
}

}  // namespace zant::velmora::standalone_host
