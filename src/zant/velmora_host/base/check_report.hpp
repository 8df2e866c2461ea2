#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// Something that could not be looked at, which is neither good nor bad.
struct Unchecked {
  std::string code;  ///< for programs: what was not checked
  std::string what;  ///< the same for a person
  std::string reason;
};

/// The findings of the preflight checks, and what could not be checked.
struct Check_Report {
  Findings findings;
  std::vector<Unchecked> unchecked;
};

}  // namespace zant::velmora_host
