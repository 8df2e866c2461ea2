#pragma once

#include <string>
#include <vector>

namespace zant::velmora_host {

/// One result of a check.
struct Finding {
  std::string where;   ///< the file, directory or option
  std::string what;    ///< what is wrong with it
  std::string remedy;  ///< what to do

  /// "topic.state"; stays the same when the words change.
  std::string code = {};
};

using Findings = std::vector<Finding>;

namespace Finding_Code {
/// The settings file cannot be read, so its settings cannot be checked.
inline constexpr const char* UNREADABLE_SETTINGS = "settings.unreadable";
}  // namespace Finding_Code

/// One line of text.
inline std::string to_string(const Finding& finding) {
  return finding.where + ": " + finding.what + "; " + finding.remedy;
}

/// Appends the findings of another check.
inline void append(Findings& findings, const Findings& more) {
  findings.insert(findings.end(), more.begin(), more.end());
}

}  // namespace zant::velmora_host
