#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

/// The directory in which this program may replace and delete what it finds. A file in it, the mark, says
/// that it is ours, so that a wrong setting deletes nothing of anybody else's.
namespace zant::velmora_host::state_directory {

/// The name of the mark.
inline constexpr const char* MARK = "package-minder-state";

/// What keeps the directory of the settings from being used: others may write to it or replace it, or it
/// holds something and has no mark. One that is missing, or empty, or of a version that set no marks, has no
/// fault. Changes nothing.
Findings find_faults(const Settings& settings);

/// Creates the directory if it is missing, and marks it if it has no mark.
///
/// @throws Refusal BAD_SETTINGS when it cannot be used; std::system_error when that may be otherwise the next
///         time (`is_passing`). Nothing in it is changed then.
void prepare(const Settings& settings);

/// Removes the mark and the directory, if nothing else is in it; else leaves both.
void remove(const boost::filesystem::path& directory, velmora::Filesystem& filesystem);

}  // namespace zant::velmora_host::state_directory
