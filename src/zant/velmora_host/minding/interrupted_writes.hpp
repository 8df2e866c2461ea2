#pragma once

#include <zant/velmora_host/families/family.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <vector>

namespace zant::velmora_host {

/// Removes the temporary files that killed processes left: in the directories that the family's files are
/// installed into, in the state directory, and beside the metrics file. Only while no other process works in
/// the state directory.
///
/// @return those that could not be removed.
std::vector<boost::filesystem::path> remove_interrupted_writes(const Family& family, const Settings& settings,
                                                               velmora::Filesystem& filesystem);

}  // namespace zant::velmora_host
