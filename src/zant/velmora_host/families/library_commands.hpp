#pragma once

#include <string>

/// What the library's command lines do to a host.
namespace zant::velmora_host::library_commands {

/// Whether a line only looks. A line that nobody knows counts as one that changes the host.
bool is_query(const std::string& command);

/// For a line that the library repeats whether or not it is needed: a query that succeeds when the line would
/// change nothing. Empty for lines that the library runs only to change something.
std::string noop_check(const std::string& command);

/// Whether a line releases the package's hold.
bool releases_hold(const std::string& command);

}  // namespace zant::velmora_host::library_commands
