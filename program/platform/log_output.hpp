#pragma once

#include <string_view>

/// What a log sink asks of the operating system about the descriptor that it writes to.
namespace zant::program::log_output {

/// What reads what is written to a descriptor.
enum class Reader {
  TERMINAL,  ///< a terminal, which knows the sequences for colours
  JOURNAL,   ///< the service manager's journal
  OTHER      ///< a file or another program
};

Reader reader_of(int descriptor);

/// Writes all of it, or as much as can be written.
void write(int descriptor, std::string_view text);

}  // namespace zant::program::log_output
