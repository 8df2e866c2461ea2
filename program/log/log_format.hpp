#pragma once

#include <zant/logging/severity_level.hpp>

#include <chrono>
#include <string>

namespace zant::program {

/// A log record as the sink receives it.
struct Log_Entry {
  std::chrono::system_clock::time_point time;
  zant::logging::severity_level severity;
  std::string channel;
  std::string message;
};

/// For a terminal: local time, severity, channel and message. The further lines of a message are indented,
/// and control characters are escaped, because parts of messages come from the output of commands.
std::string format_for_terminal(const Log_Entry& entry, bool with_colour);

/// For the journal: its priority prefix, channel and message; the journal has the time itself. The message is
/// one line, because every line would become a record of its own.
std::string format_for_journal(const Log_Entry& entry);

}  // namespace zant::program
