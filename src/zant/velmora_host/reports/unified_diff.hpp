#pragma once

#include <zant/velmora_host/reports/file_change.hpp>

#include <string>

namespace zant::velmora_host {

/// The change as diff -u shows it, with /dev/null on the side where there is no file. What is no text is told
/// in one line instead: nothing in the result can confuse a terminal.
std::string unified_diff(const File_Change& change);

}  // namespace zant::velmora_host
