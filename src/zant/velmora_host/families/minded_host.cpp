#include <zant/velmora_host/families/minded_host.hpp>

#include <zant/velmora_host/base/enum_names.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>
#include <zant/velmora_host/staging/state_directory.hpp>

namespace zant::velmora_host {
namespace {

constexpr Enum_Names<velmora::Init, 2> INIT_NAMES = {{
    {velmora::Init::systemd, "systemd"},
    {velmora::Init::other, "other"},
}};

}  // namespace

Minded_Host find_minded_host(const Settings& settings, const Host_Services& services,
                             const Family_Registry& registry) {
  const Family& family = require_family(services, registry);
  Findings faults = family.find_setting_faults(settings);
  if (const Staging_Layout layout = registry.staging_layout(); !layout.templates.empty()) {
    append(faults, find_staging_tree_faults(settings.staging_directory(), layout));
  }
  append(faults, state_directory::find_faults(settings));
  refuse_if_any(faults);
  return {settings, services, family, find_init(*services.filesystem)};
}

const Family& require_family(const Host_Services& services, const Family_Registry& registry) {
  const Family* const family = registry.find(*services.filesystem);
  if (family == nullptr) {
    throw Refusal(Refusal_Reason::UNSUPPORTED_HOST,
                  "no supported package manager: /etc/os-release names neither Debian or Ubuntu nor the RHEL "
                  "family");
  }
  return *family;
}

velmora::Init find_init(velmora::Filesystem& filesystem) {
  const bool is_systemd =
      filesystem.read_file("/proc/1/comm", velmora::Read_Flag::WITHOUT_LINE_END) == "systemd";
  return is_systemd ? velmora::Init::systemd : velmora::Init::other;
}

const char* to_string(velmora::Init init) {
  return name_of(INIT_NAMES, init);
}

}  // namespace zant::velmora_host
