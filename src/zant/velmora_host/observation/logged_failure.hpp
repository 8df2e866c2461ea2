#pragma once

#include <zant/velmora_host/observation/cycle_record.hpp>
#include <zant/velmora_host/observation/log_observer.hpp>

#include <atomic>
#include <optional>

namespace zant::velmora_host {

/// The failure that a log record tells of, if it is one that the library tells in no other way: those of
/// Chocolatey's and the task scheduler's commands. All others it throws or returns.
std::optional<Cycle_Record::Failure> find_logged_failure(const Log_Record& record);

/// Notices such failures for as long as it lives.
class Logged_Failure_Watch {
 public:
  Logged_Failure_Watch();

  bool has_noticed_one() const noexcept { return has_noticed_one_; }

 private:
  std::atomic<bool> has_noticed_one_ = false;
  Log_Observer observer_;
};

}  // namespace zant::velmora_host
