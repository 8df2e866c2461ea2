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

/// How an account other than the administrator and this process's user could change the file or directory, as
/// the end of a sentence about it; empty when none can. Links are followed.
PACKAGE_MINDER_HOST_EXPORT std::string who_else_may_write(const boost::filesystem::path& path);

}  // namespace zant::velmora_host::privileges
