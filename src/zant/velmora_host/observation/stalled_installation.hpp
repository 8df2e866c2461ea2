#pragma once

#include <zant/velmora_host/observation/cycle_record.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <optional>

namespace zant::velmora_host {

/// The file in the state directory that tells other processes of an installation that makes no progress, for
/// as long as that lasts.
namespace stalled_installation {

boost::filesystem::path file_in(const boost::filesystem::path& state_directory);

/// Nothing when there is none, or when the file is no such document.
std::optional<Stalled_Installation> read(velmora::Filesystem& filesystem,
                                         const boost::filesystem::path& file);

/// Replaces the file, or removes it where there is none any more. False when that fails; the file is then
/// what it was.
bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& file,
           const std::optional<Stalled_Installation>& stalled);

}  // namespace stalled_installation
}  // namespace zant::velmora_host
