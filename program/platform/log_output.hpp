#pragma once

#include <string_view>

/// What a log sink asks of the operating system about the descriptor that it writes to.
namespace zant::program::log_output {

/// Whether a person is reading.
bool is_terminal(int descriptor);

/// Whether the service manager's journal is reading.
bool is_journal(int descriptor);

/// Writes all of it, or as much as can be written.
void write(int descriptor, std::string_view text);

}  // namespace zant::program::log_output
