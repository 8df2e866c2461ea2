#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>

#include <boost/filesystem/path.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// Undoes what was set up on a host, once there are a state directory that nobody else works in and a staging
/// directory. A purge of everything removes the records of cycles and verdicts too, when all else is undone.
///
/// @return what could not be undone, a sentence each; empty when all is undone.
/// @throws std::runtime_error what ended the purge; it can be repeated.
std::vector<std::string> undo(Purge_Scope scope, const Minded_Host& host,
                              const boost::filesystem::path& staging_directory);

}  // namespace zant::velmora_host
