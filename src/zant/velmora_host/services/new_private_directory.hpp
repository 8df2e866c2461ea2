#pragma once

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// Makes an empty directory named `beginning` and a random rest. Only this process's user can enter it; on
/// Windows other users can read it, and only administrators can change it.
///
/// @throws std::system_error when it cannot be made.
boost::filesystem::path new_private_directory(const boost::filesystem::path& beginning);

}  // namespace zant::velmora_host
