#pragma once

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// A text that is another one when any of these files, or anything below these directories, has changed.
/// Starts no command and reads no file that the file service can tell otherwise.
std::string outlook_stamp(const std::vector<boost::filesystem::path>& inputs, Host_Filesystem& filesystem);

}  // namespace zant::velmora_host
