#pragma once

#include <boost/filesystem/path.hpp>

#include <string>

/// What the operating system allows whom.
namespace zant::velmora_host::privileges {

/// Whether this process may change the host's package management.
bool may_administer();

/// What to do when it may not.
extern const char* const HOW_TO_BE_ADMINISTRATOR;

/// How an account other than the administrator and this process's user could change the file or directory, as
/// the end of a sentence about it; empty when none can. Links are followed.
std::string who_else_may_write(const boost::filesystem::path& path);

}  // namespace zant::velmora_host::privileges
