#pragma once

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// Makes a directory that administrators and the system may change and other users may read, and the same for
/// what will be in it, whatever the directory above it would hand down: below ProgramData everybody could
/// create files.
///
/// @throws std::system_error when it is there already or cannot be made.
void create_protected_directory(const boost::filesystem::path& path);

}  // namespace zant::velmora_host
