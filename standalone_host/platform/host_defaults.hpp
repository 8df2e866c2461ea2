#pragma once

#include <boost/filesystem/path.hpp>

#include <map>
#include <string>

/// Where things are on this kind of host unless the settings say otherwise.
namespace zant::velmora::standalone_host::Host_Defaults {

boost::filesystem::path settings_file();

/// The settings that name directories, by key.
std::map<std::string, std::string> directories();

}  // namespace zant::velmora::standalone_host::Host_Defaults
