#pragma once

#include <support/call_journal.hpp>

#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <functional>
#include <memory>
#include <utility>

namespace zant::velmora::test_support {

/// A timer manager that touches nothing. Records in the journal: "get_timer_config", "initialize_timer",
/// "restore_timer".
class Fake_Timer_Manager : public Upgrade_Timer_Manager {
 public:
  explicit Fake_Timer_Manager(std::shared_ptr<Call_Journal> journal = make_journal())
      : journal_(std::move(journal)) {}

  /// What `get_timer_config` returns.
  Timer_Config timer_config;

  /// What `restore_timer` returns.
  bool restored = true;

  /// Runs inside `initialize_timer`; may throw.
  std::function<void()> during_initialize_timer = [] {};

  Timer_Config get_timer_config() const override {
    journal_->push_back("get_timer_config");
    return timer_config;
  }

  void initialize_timer() override {
    journal_->push_back("initialize_timer");
    during_initialize_timer();
  }

  bool restore_timer() override {
    journal_->push_back("restore_timer");
    return restored;
  }

 private:
  std::shared_ptr<Call_Journal> journal_;
};

}  // namespace zant::velmora::test_support
