#include <zant/velmora_host/reports/unified_diff.hpp>

#include <fmt/format.h>
#include <dtl/dtl.hpp>

#include <algorithm>
#include <ostream>
#include <sstream>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

constexpr const char* NO_FILE = "/dev/null";
constexpr const char* NO_LINE_END = "\n\\ No newline at end of file";

bool is_text(const std::string& contents) {
  return std::none_of(contents.begin(), contents.end(), [](char character) {
    const auto code = static_cast<unsigned char>(character);
    return (code < 0x20 && character != '\n' && character != '\t' && character != '\r') || code == 0x7f;
  });
}

std::vector<std::string> diff_lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    // The return would overwrite the line on a terminal.
    std::replace(line.begin(), line.end(), '\r', ' ');
    lines.push_back(line);
  }
  if (!lines.empty() && !text.ends_with('\n')) {
    lines.back() += NO_LINE_END;
  }
  return lines;
}

using Line = std::pair<std::string, dtl::elemInfo>;

// On a side without lines patch(1) wants the number of the line before them; the library gives the one after.
void print(dtl::uniHunk<Line> hunk, std::ostream& stream) {
  hunk.a -= hunk.b == 0 ? 1 : 0;
  hunk.c -= hunk.d == 0 ? 1 : 0;
  dtl::UniHunkPrinter<Line, std::ostream>{stream}(hunk);
}

std::string describe_binary(const File_Change& change) {
  const auto size = [](const std::optional<std::string>& text) { return text.value_or("").size(); };
  if (!change.before) {
    return fmt::format("Binary file {} is created ({} bytes)\n", change.path.string(), size(change.after));
  }
  if (!change.after) {
    return fmt::format("Binary file {} is removed ({} bytes)\n", change.path.string(), size(change.before));
  }
  return fmt::format("Binary file {} is replaced ({} bytes, before {})\n", change.path.string(),
                     size(change.after), size(change.before));
}

}  // namespace

std::string unified_diff(const File_Change& change) {
  const std::string before = change.before.value_or("");
  const std::string after = change.after.value_or("");
  if (!is_text(before) || !is_text(after)) {
    return describe_binary(change);
  }
  dtl::Diff<std::string> diff(diff_lines_of(before), diff_lines_of(after));
  diff.compose();
  diff.composeUnifiedHunks();
  std::ostringstream text;
  text << "--- " << (change.before ? change.path.string() : NO_FILE) << '\n'
       << "+++ " << (change.after ? change.path.string() : NO_FILE) << '\n';
  for (const auto& hunk : diff.getUniHunks()) {
    print(hunk, text);
  }
  return text.str();
}

}  // namespace zant::velmora_host
