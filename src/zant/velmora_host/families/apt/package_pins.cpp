#include <zant/velmora_host/families/apt/package_pins.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <fnmatch.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <regex>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

// As APT takes them. The usual way to match takes forever on nested repetitions, and a stack for nested
// brackets.
constexpr auto KIND_OF_PATTERN =
    std::regex_constants::extended | std::regex_constants::icase | std::regex_constants::__polynomial;
constexpr std::size_t LONGEST_PATTERN = 1000;

struct Record : Pin_Record {
  std::string packages;
};

bool matches(const std::string& pattern, const std::string& package) {
  if (pattern.size() > 2 && pattern.front() == '/' && pattern.back() == '/') {
    if (pattern.size() > LONGEST_PATTERN) {
      return false;
    }
    try {
      return std::regex_search(package, std::regex(pattern.substr(1, pattern.size() - 2), KIND_OF_PATTERN));
    } catch (const std::regex_error&) {
      return false;
    }
  }
  return pattern == package || fnmatch(pattern.c_str(), package.c_str(), 0) == 0;
}

bool names(const Record& record, const std::string& package) {
  std::vector<std::string> patterns;
  boost::algorithm::split(patterns, record.packages, boost::algorithm::is_space(),
                          boost::algorithm::token_compress_on);
  return std::any_of(patterns.begin(), patterns.end(), [&package](std::string pattern) {
    if (boost::algorithm::starts_with(pattern, "src:")) {
      pattern.erase(0, 4);
    }
    return pattern != "*" && matches(pattern.substr(0, pattern.find(':')), package);
  });
}

std::vector<Record> parse(const std::string& preferences) {
  std::vector<Record> records;
  bool is_open = false;
  std::size_t number = 0;
  for (const auto& line : lines_of(preferences)) {
    ++number;
    const std::string text = boost::algorithm::trim_copy(line);
    if (text.empty()) {
      is_open = false;
      continue;
    }
    if (text.front() == '#') {
      continue;
    }
    if (!is_open) {
      records.push_back({{number, number, ""}, ""});
      is_open = true;
    }
    auto& record = records.back();
    record.last_line = number;
    record.text += (record.text.empty() ? "" : "; ") + text;
    if (boost::algorithm::istarts_with(text, "Package:")) {
      record.packages = boost::algorithm::trim_copy(text.substr(8));
    }
  }
  return records;
}

}  // namespace

std::optional<Pin_Record> find_pin(const std::string& preferences, const std::string& package) {
  const auto records = parse(preferences);
  const auto specific = std::find_if(records.begin(), records.end(),
                                     [&package](const Record& record) { return names(record, package); });
  if (specific != records.end()) {
    return *specific;
  }
  const auto general = std::find_if(records.begin(), records.end(),
                                    [](const Record& record) { return record.packages == "*"; });
  return general == records.end() ? std::nullopt : std::optional<Pin_Record>(*general);
}

}  // namespace zant::velmora_host::apt_outlook
