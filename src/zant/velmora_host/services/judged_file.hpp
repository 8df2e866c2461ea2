#pragma once

#include <boost/filesystem/path.hpp>

#include <string>

namespace zant::velmora_host {

/// What was read of a file that decides what the administrator's account does.
struct Judged_Text {
  std::string text;            ///< empty when others may write
  std::string foreign_writer;  ///< how others could change it, as `privileges::who_else_may_write` says it
};

/// Reads a regular file, and judges the file that it reads: what is swapped meanwhile is not read. Never
/// waits for another process, as a reader of a fifo would.
///
/// @throws std::system_error that says why it cannot be read; with the code
///         std::errc::no_such_file_or_directory or std::errc::not_a_directory when it is missing, with
///         std::errc::is_a_directory for a directory, and with std::errc::invalid_argument for a fifo, a
///         device and the like.
Judged_Text read_judged(const boost::filesystem::path& file);

}  // namespace zant::velmora_host
