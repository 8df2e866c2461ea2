#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/staging/staging_layout.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// The faults that make a staging tree unusable: missing files, templates that cannot be rendered, anything
/// that others than the administrator can write to. Keyrings are not checked: hosts of one family only need
/// them.
Findings find_staging_tree_faults(const boost::filesystem::path& tree, const Staging_Layout& layout);

/// Keyrings of the layout that the tree lacks.
Findings find_keyring_faults(const boost::filesystem::path& tree, const Staging_Layout& layout);

/// Files in the tree that nothing reads: probably misplaced.
Findings find_foreign_files(const boost::filesystem::path& tree, const Staging_Layout& layout);

/// Copies the tree to a directory that does not exist yet. The copy need not survive a crash: every run makes
/// a new one.
///
/// @throws std::runtime_error that names the file that could not be copied; the files copied before it stay.
void copy_staging_tree(const boost::filesystem::path& tree, const boost::filesystem::path& destination);

/// Makes a directory, which is not there yet, with what the library's objects read: a copy of the tree, or
/// nothing for a family whose layout is empty.
///
/// @throws std::runtime_error that says what could not be done; what has been done stays.
void make_staging_directory(const boost::filesystem::path& tree, const Staging_Layout& layout,
                            const boost::filesystem::path& directory, velmora::Filesystem& filesystem);

}  // namespace zant::velmora_host
