#pragma once

#include <zant/velmora_host/export.hpp>

#include <boost/filesystem/path.hpp>

#include <string>

/// What the operating system allows whom.
namespace zant::velmora_host::privileges {

/// Whether this process may change the host's package management.
PACKAGE_MINDER_HOST_EXPORT bool may_administer();

/// What to do when it may not.
extern PACKAGE_MINDER_HOST_EXPORT const char* const HOW_TO_BE_ADMINISTRATOR;

/// How an account other than the administrator and this process's user could change what the path leads to,
/// or put something else there by way of a directory above it; as the end of a sentence about the path. Empty
/// when none can. Links are followed, and the directories on the way to their targets judged too.
///
/// A sticky directory such as /tmp is allowed above an entry of the administrator's own: others cannot
/// replace that.
PACKAGE_MINDER_HOST_EXPORT std::string who_else_may_write(const boost::filesystem::path& path);

/// The same for a path whose end may be missing: judges what is there of it.
PACKAGE_MINDER_HOST_EXPORT std::string who_else_may_write_what_is_there(const boost::filesystem::path& path);

}  // namespace zant::velmora_host::privileges
