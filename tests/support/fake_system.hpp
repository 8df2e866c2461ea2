#pragma once

#include <support/call_journal.hpp>

#include <zant/velmora/host/system.hpp>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace zant::velmora::test_support {

/// A scripted command service. Records every command in the journal as "run COMMAND". A command that no
/// script names fails the test and names itself, as does one that is not run with the flag that the library
/// always passes.
class Fake_System : public System {
 public:
  explicit Fake_System(std::shared_ptr<Call_Journal> journal = make_journal());

  /// From now on the command ends like this, every time.
  void on(const std::string& command, int exit_code, const std::string& output = "");

  /// The same for every command line that fits the pattern, in which "*" stands for what no test can know
  /// before, such as the name of a temporary directory. A line that is named whole goes
  /// first, then the longest pattern.
  void on_like(const std::string& pattern, int exit_code, const std::string& output = "");

  /// The command ends like this once, before what `on` says; several calls queue up.
  void once(const std::string& command, int exit_code, const std::string& output = "");

  /// Runs the action inside the command, before its result is returned.
  void during(const std::string& command, std::function<void()> action);

  /// The commands run so far, in order.
  std::vector<std::string> commands() const;

  Command_Result run_command(const std::string& command, bool flag) override;

 private:
  Command_Result next_result_(const std::string& command);
  const Command_Result* find_result_(const std::string& command) const;

  std::shared_ptr<Call_Journal> journal_;
  mutable std::mutex mutex_;
  std::vector<std::string> commands_;
  std::map<std::string, Command_Result> results_;
  std::map<std::string, Command_Result> pattern_results_;
  std::map<std::string, std::deque<Command_Result>> queued_results_;
  std::map<std::string, std::function<void()>> actions_;
};

}  // namespace zant::velmora::test_support
