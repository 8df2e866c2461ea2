#pragma once

#include <standalone_host/exit_status.hpp>
#include <standalone_host/finding.hpp>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora::standalone_host {

/// Why the program does not do what it was told; thrown before anything on the host is changed.
class Refusal : public std::runtime_error {
 public:
  Refusal(int exit_status, const std::string& message)
      : std::runtime_error(message), exit_status_(exit_status), messages_{message} {}

  /// @param findings at least one.
  Refusal(int exit_status, const Findings& findings) : Refusal(exit_status, to_string(findings.at(0))) {
    findings_ = findings;
    messages_.clear();
    for (const auto& finding : findings) {
      messages_.push_back(to_string(finding));
    }
  }

  int exit_status() const noexcept { return exit_status_; }

  /// One for each thing that is wrong.
  const std::vector<std::string>& messages() const noexcept { return messages_; }

  /// The same in parts, where it is about files and settings; else empty.
  const Findings& findings() const noexcept { return findings_; }

 private:
  int exit_status_;
  Findings findings_;
  std::vector<std::string> messages_;
};

/// @throws Refusal BAD_SETTINGS when there is any finding.
inline void refuse_if_any(const Findings& findings) {
  if (!findings.empty()) {
    throw Refusal(Exit_Status::BAD_SETTINGS, findings);
  }
}

}  // namespace zant::velmora::standalone_host
