#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// What keeps a staging tree from being used: missing files, templates that cannot be rendered, anything that
/// somebody else than the administrator could change. Empty when nothing does. The repository's keyring is
/// not looked for: only APT hosts need it.
Findings find_staging_tree_faults(const boost::filesystem::path& tree);

/// What is wrong with the repository's keyring in the tree, which APT hosts need.
Findings find_keyring_faults(const boost::filesystem::path& tree);

/// Files in the tree that nothing reads; somebody meant them for another place.
Findings find_foreign_files(const boost::filesystem::path& tree);

/// Copies the tree to a directory that is not there yet. The copy need not outlast a crash of the machine:
/// every run has its own.
///
/// @throws std::runtime_error that names what could not be copied; what has been copied stays.
void copy_staging_tree(const boost::filesystem::path& tree, const boost::filesystem::path& destination);

}  // namespace zant::velmora_host
