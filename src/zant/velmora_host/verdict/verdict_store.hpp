#pragma once

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <optional>

/// The file that keeps the last verdict of a service and what is remembered of the host's upgrades.
namespace zant::velmora_host::verdict_store {

/// Where it is in a state directory.
boost::filesystem::path file_in(const boost::filesystem::path& state_directory);

/// Nothing when there is none, or when the file is no such document.
std::optional<Verdict> read(velmora::Filesystem& filesystem, const boost::filesystem::path& file);

/// Replaces the file; false, with the old one in place, when that fails.
bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& file, const Verdict& verdict);

/// "code", "effect", "message", "evidence" and "remedy" of each.
json_document::Json causes_to_json(const Causes& causes);

/// Times of runs of the upgrade service, with their results.
json_document::Json runs_to_json(const std::vector<Upgrade_Run>& runs);

}  // namespace zant::velmora_host::verdict_store
