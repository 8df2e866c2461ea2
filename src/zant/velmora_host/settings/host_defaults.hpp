#pragma once

#include <boost/filesystem/path.hpp>

#include <map>
#include <string>

/// Where things are on this kind of host unless the settings say otherwise.
namespace zant::velmora_host::host_defaults {

boost::filesystem::path settings_file();

/// The settings that name directories, by key.
std::map<std::string, std::string> directories();

}  // namespace zant::velmora_host::host_defaults
