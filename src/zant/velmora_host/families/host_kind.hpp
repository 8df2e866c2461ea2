#pragma once

#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/package_minder/init.hpp>
#include <zant/velmora/package_minder/package_config.hpp>

namespace zant::velmora_host {

/// What kind of host this is, as the library sees it too.
struct Host_Kind {
  velmora::Package_Config_Type family;  ///< None without a package manager that the library knows
  velmora::Init init;
};

/// Looks without making the library's objects, which need a staging tree that is in order.
Host_Kind find_host_kind(velmora::Filesystem& filesystem);

/// "APT", "DNF" or "none".
const char* to_string(velmora::Package_Config_Type family);

/// "systemd" or "other".
const char* to_string(velmora::Init init);

}  // namespace zant::velmora_host
