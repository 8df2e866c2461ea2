#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/export.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// Why a command is refused.
enum class Refusal_Reason {
  UNSUPPORTED_HOST,  ///< no supported package manager
  BUSY,              ///< another process works in the state directory
  NO_RIGHTS,         ///< not run as the administrator
  BAD_SETTINGS,      ///< the settings, the staging tree or the state directory are not usable
};

/// Thrown before anything on the host is changed.
class PACKAGE_MINDER_HOST_EXPORT Refusal : public std::runtime_error {
 public:
  Refusal(Refusal_Reason reason, const std::string& message)
      : std::runtime_error(message), reason_(reason), messages_{message} {}

  /// @param findings at least one.
  Refusal(Refusal_Reason reason, const Findings& findings) : Refusal(reason, to_string(findings.at(0))) {
    findings_ = findings;
    messages_.clear();
    for (const auto& finding : findings) {
      messages_.push_back(to_string(finding));
    }
  }

  Refusal_Reason reason() const noexcept { return reason_; }

  /// One for each fault.
  const std::vector<std::string>& messages() const noexcept { return messages_; }

  /// The same as findings, for faults of files and settings; else empty.
  const Findings& findings() const noexcept { return findings_; }

 private:
  Refusal_Reason reason_;
  Findings findings_;
  std::vector<std::string> messages_;
};

/// @throws Refusal BAD_SETTINGS when there is any finding.
inline void refuse_if_any(const Findings& findings) {
  if (!findings.empty()) {
    throw Refusal(Refusal_Reason::BAD_SETTINGS, findings);
  }
}

}  // namespace zant::velmora_host
