#pragma once

#include <string>
#include <vector>

namespace zant::velmora_host {

/// Something that is not as the program needs it.
struct Finding {
  std::string where;   ///< the file, directory or option
  std::string what;    ///< what is wrong with it
  std::string remedy;  ///< what would be right

  /// For programs, "TOPIC.FAULT"; stays the same when the words change.
  std::string code = {};
};

using Findings = std::vector<Finding>;

namespace Finding_Code {
/// Nothing can be said about the settings themselves.
inline constexpr const char* UNREADABLE_SETTINGS = "settings.unreadable";
}  // namespace Finding_Code

/// One line for a person.
inline std::string to_string(const Finding& finding) {
  return finding.where + ": " + finding.what + "; " + finding.remedy;
}

/// Adds what another look has found.
inline void append(Findings& findings, const Findings& more) {
  findings.insert(findings.end(), more.begin(), more.end());
}

}  // namespace zant::velmora_host
