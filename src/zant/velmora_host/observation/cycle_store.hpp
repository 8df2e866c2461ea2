#pragma once

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/observation/cycle_record.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <optional>

namespace zant::velmora_host {

/// The file in the state directory that holds it, which is whole or not there.
namespace cycle_store {

/// The failures of a cycle, as documents show them.
json_document::Json failures_to_json(const Cycle_Record& record);

/// The keys that the host trusts, as documents show them; null when they are not known.
json_document::Json keys_to_json(const Cycle_History& history);

boost::filesystem::path file_in(const boost::filesystem::path& state_directory);

/// Nothing when the file is missing or holds something else.
std::optional<Cycle_State> read(velmora::Filesystem& filesystem, const boost::filesystem::path& file);

/// False when it could not be written; the file is then what it was.
bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& file, const Cycle_State& state);

}  // namespace cycle_store
}  // namespace zant::velmora_host
