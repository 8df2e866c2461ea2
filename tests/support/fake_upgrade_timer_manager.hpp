#pragma once

#include <support/call_journal.hpp>

#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <memory>
#include <utility>

namespace zant::velmora::test_support {

/// A timer manager that does nothing but write "initialize_timer" and "restore_timer" into the journal.
/// Asking for its record is not journalled.
class Fake_Upgrade_Timer_Manager : public Upgrade_Timer_Manager {
 public:
  explicit Fake_Upgrade_Timer_Manager(std::shared_ptr<Call_Journal> journal = make_journal())
      : journal_(std::move(journal)) {}

  Timer_Config timer_config;
  bool restores = true;

  Timer_Config get_timer_config() const override { return timer_config; }

  void initialize_timer() override { journal_->push_back("initialize_timer"); }

  bool restore_timer() override {
    journal_->push_back("restore_timer");
    return restores;
  }

 private:
  std::shared_ptr<Call_Journal> journal_;
};

}  // namespace zant::velmora::test_support
