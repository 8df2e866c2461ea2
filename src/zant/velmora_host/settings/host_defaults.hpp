#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/settings/setting_defaults.hpp>

#include <boost/filesystem/path.hpp>

#include <string>

/// Where things are on this kind of host unless the settings say otherwise.
namespace zant::velmora_host::host_defaults {

/// The defaults of the settings that name directories; empty where this kind of host has none.
struct Directories {
  std::string staging;
  std::string state;
  std::string base;
};

Setting_System system();
PACKAGE_MINDER_HOST_EXPORT boost::filesystem::path settings_file();
Directories directories();

}  // namespace zant::velmora_host::host_defaults
