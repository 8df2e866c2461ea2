#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// The faults that make a staging tree unusable: missing files, templates that cannot be rendered, anything
/// that others than the administrator can write to. The repository's keyring is not checked: only APT hosts
/// need it.
Findings find_staging_tree_faults(const boost::filesystem::path& tree);

/// The faults of the repository's keyring in the tree, which APT hosts need.
Findings find_keyring_faults(const boost::filesystem::path& tree);

/// Files in the tree that nothing reads: probably misplaced.
Findings find_foreign_files(const boost::filesystem::path& tree);

/// Copies the tree to a directory that does not exist yet. The copy need not survive a crash: every run makes
/// a new one.
///
/// @throws std::runtime_error that names the file that could not be copied; the files copied before it stay.
void copy_staging_tree(const boost::filesystem::path& tree, const boost::filesystem::path& destination);

}  // namespace zant::velmora_host
