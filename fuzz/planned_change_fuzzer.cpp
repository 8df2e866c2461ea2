// A file of the host that would be changed, before and after, as a plan shows it: in a text that patch(1)
// makes the one out of the other with, and that does a terminal no harm.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/reports/unified_diff.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

using namespace zant::velmora_host;

namespace {

using Lines = std::vector<std::string>;

// Between what the file holds and what it would.
constexpr const char* SEPARATOR = "\n%%\n";
constexpr const char* NO_LINE_END = "\\ No newline at end of file";

// Each with its end, but for the last one of a text that does not end with one.
Lines lines_of(const std::string& text) {
  Lines lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    lines.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return lines;
}

// As patch(1) does it; whatever does not fit ends the process.
class Patch {
 public:
  Patch(const std::string& before, const std::string& diff) : before_(lines_of(before)) {
    const Lines lines = lines_of(diff);
    require(lines.size() >= 2 && lines[0].starts_with("--- ") && lines[1].starts_with("+++ "));
    std::for_each(lines.begin() + 2, lines.end(), [this](const std::string& line) { take_(line); });
    require(left_old_ == 0 && left_new_ == 0);
    copy_to_(before_.size());
  }

  std::string result() const {
    std::string text;
    for (const auto& line : after_) {
      text += line;
    }
    return text;
  }

 private:
  void take_(const std::string& line) {
    if (line.starts_with(NO_LINE_END)) {
      require(last_ != '\0');
      if (last_ != '-') {
        require(!after_.empty() && after_.back().ends_with('\n'));
        after_.back().pop_back();
      }
      return;
    }
    if (left_old_ == 0 && left_new_ == 0) {
      begin_hunk_(line);
      return;
    }
    last_ = line.front();
    require(last_ == ' ' || last_ == '-' || last_ == '+');
    if (last_ != '+') {
      require(left_old_-- > 0);
      const std::string old = before_.at(position_++);
      require(line.substr(1) == (old.ends_with('\n') ? old : old + "\n"));
    }
    if (last_ != '-') {
      require(left_new_-- > 0);
      after_.push_back(line.substr(1));
    }
  }

  // "@@ -3,4 +3 @@": a missing size is 1.
  void begin_hunk_(const std::string& line) {
    std::size_t old_begin = 0;
    std::size_t new_begin = 0;
    left_old_ = left_new_ = 1;
    const std::string olds = line.substr(0, line.find('+'));
    const std::string news = line.substr(olds.size());
    require(std::sscanf(olds.c_str(), "@@ -%zu,%zu", &old_begin, &left_old_) >= 1);
    require(std::sscanf(news.c_str(), "+%zu,%zu", &new_begin, &left_new_) >= 1);
    copy_to_(left_old_ == 0 ? old_begin : old_begin - 1);
    require(after_.size() == (left_new_ == 0 ? new_begin : new_begin - 1));
    last_ = '\0';
  }

  void copy_to_(std::size_t line) {
    require(line >= position_ && line <= before_.size());
    std::copy(before_.begin() + static_cast<std::ptrdiff_t>(position_),
              before_.begin() + static_cast<std::ptrdiff_t>(line), std::back_inserter(after_));
    position_ = line;
  }

  const Lines before_;
  Lines after_;
  std::size_t position_ = 0;  // in what was before
  std::size_t left_old_ = 0;  // of the hunk
  std::size_t left_new_ = 0;
  char last_ = '\0';
};

// What is shown of it: the returns are blanks.
std::string without_returns(std::string text) {
  std::replace(text.begin(), text.end(), '\r', ' ');
  return text;
}

void try_change(const std::string& before, const std::string& after) {
  const std::string diff = unified_diff({"/etc/apt/file", before, after});
  if (!diff.starts_with("Binary file ")) {
    const std::string old_text = without_returns(before);
    require(Patch(old_text, diff).result() == without_returns(after));
  }
}

void try_plan(const std::string& before, const std::string& after) {
  Plan plan;
  plan.files = {
      {"/etc/apt/changed", before, after}, {"/etc/apt/made", {}, after}, {"/etc/apt/gone", before, {}}};
  require_harmless(to_text(plan));
  require(nlohmann::json::parse(to_json_text(plan)).at("files").size() == plan.files.size());
}

}  // namespace

void try_input(const std::string& input) {
  const std::size_t end = std::min(input.find(SEPARATOR), input.size());
  const std::string before = input.substr(0, end);
  const std::string after = end == input.size() ? "" : input.substr(end + std::string(SEPARATOR).size());
  try_change(before, after);
  try_change(after, before);
  try_plan(before, after);
}
