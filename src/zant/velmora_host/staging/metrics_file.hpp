#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// What keeps metrics from being written: others who could lead the file, which root writes and removes, to
/// another place. Nothing for an empty path, or one whose directory is missing.
Findings find_metrics_file_faults(const boost::filesystem::path& file);

/// False when there are such faults; they are logged as a warning then.
bool may_write_metrics_file(const boost::filesystem::path& file);

}  // namespace zant::velmora_host
