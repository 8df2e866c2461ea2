#pragma once

#include <zant/velmora_host/services/posix/file_descriptor.hpp>

#include <boost/filesystem/path.hpp>

#include <sys/stat.h>

#include <string>

namespace zant::velmora_host {

/// How a path was opened and judged, entry by entry.
struct Walked_Path {
  File_Descriptor directory;  ///< the one that holds what the path leads to; none for the root directory
  std::string name;           ///< of what it leads to, in that directory; never a link
  File_Descriptor entry;      ///< what it leads to, open with O_PATH; none when the walk ended before
  struct stat status {};      ///< of the entry

  /// How an account other than root and this process's user could change what the path leads to, or put
  /// something else there; as the end of a sentence about the path. Empty when none can, and the walk ends at
  /// the first fault.
  std::string foreign_writer;

  int error = 0;  ///< why the walk ended before the end of the path, as in errno; 0 when it did not
};

/// Opens a path from the root directory on, one entry at a time, and judges each entry as it was opened
/// before it goes on in it. Links are followed: the directories on the way to their targets are judged like
/// the others. Nobody can swap afterwards what was judged, because nobody else may change any directory on
/// the way.
///
/// A sticky directory such as /tmp is allowed on the way, but not at the end: in it others can neither rename
/// nor remove an entry of root's, and an entry of anybody else's is a fault itself. The group of root's own
/// may write, unless an access control list hides behind its bits.
Walked_Path walk_path(const boost::filesystem::path& path);

/// How others could change this one entry, without the directories above it; empty when none can.
///
/// @param descriptor may be open with O_PATH.
std::string who_else_may_write(int descriptor, const struct stat& status);

}  // namespace zant::velmora_host
