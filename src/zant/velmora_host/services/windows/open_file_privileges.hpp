#pragma once

#include <zant/velmora_host/services/windows/handle.hpp>

#include <boost/filesystem/path.hpp>

#include <string>

namespace zant::velmora_host::privileges {

/// The same as for a path, judged on the file that is open, and on the directories of both the path and the
/// place to which links and junctions led.
///
/// @param file open with the right to read its access rights, which GENERIC_READ includes.
std::string who_else_may_write(const Handle& file, const boost::filesystem::path& path);

}  // namespace zant::velmora_host::privileges
