#pragma once

#include <zant/velmora_host/services/windows/handle.hpp>

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// Makes a directory that administrators and the system may change and other users may read, and the same for
/// what will be in it, whatever the directory above it would hand down: below ProgramData everybody could
/// create files.
///
/// @throws std::system_error when it is there already or cannot be made.
void create_protected_directory(const boost::filesystem::path& path);

/// Lets administrators and the system alone open a file, not even to read it.
///
/// @param file open with WRITE_DAC.
/// @throws std::system_error when it cannot be done.
void make_private(const Handle& file);

}  // namespace zant::velmora_host
