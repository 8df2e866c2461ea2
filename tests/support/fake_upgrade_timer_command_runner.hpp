#pragma once

#include <support/call_journal.hpp>

#include <zant/velmora/upgrade_timer/upgrade_timer_command_runner.hpp>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace zant::velmora::test_support {

/// A healthy upgrade timer, unless a test says otherwise: it runs, and starts and reloads when told to. Each
/// question and order is written into the journal under the operation's name.
class Fake_Upgrade_Timer_Command_Runner : public Upgrade_Timer_Command_Runner {
 public:
  explicit Fake_Upgrade_Timer_Command_Runner(std::shared_ptr<Call_Journal> journal = make_journal())
      : journal_(std::move(journal)) {}

  bool starts = true;
  bool needs_reload = false;
  bool running = true;
  std::function<bool()> reloads = [] { return true; };

  bool start_timer() const override { return note_("start_timer", starts); }
  bool timer_needs_reload() const override { return note_("timer_needs_reload", needs_reload); }
  bool reload_timer() const override {
    journal_->push_back("reload_timer");
    return reloads();
  }
  bool timer_is_running() const override { return note_("timer_is_running", running); }

 private:
  bool note_(const std::string& operation, bool result) const {
    journal_->push_back(operation);
    return result;
  }

  std::shared_ptr<Call_Journal> journal_;
};

}  // namespace zant::velmora::test_support
