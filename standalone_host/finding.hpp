#pragma once

#include <string>
#include <vector>

namespace zant::velmora::standalone_host {

/// Something that is not as the program needs it.
struct Finding {
  std::string where;   ///< the file, directory or option
  std::string what;    ///< what is wrong with it
  std::string remedy;  ///< what would be right
};

using Findings = std::vector<Finding>;

/// One line for a person.
inline std::string to_string(const Finding& finding) {
  return finding.where + ": " + finding.what + "; " + finding.remedy;
}

/// Adds what another look has found.
inline void append(Findings& findings, const Findings& more) {
  findings.insert(findings.end(), more.begin(), more.end());
}

}  // namespace zant::velmora::standalone_host
