#pragma once

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora_host {

/// Claims a directory for as long as the result lives, or the process does: nobody else can claim it then.
///
/// @return null when another claims it, when it is no directory of this process's user, or is gone.
std::shared_ptr<void> claim_directory(const boost::filesystem::path& directory);

}  // namespace zant::velmora_host
