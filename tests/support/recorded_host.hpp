#pragma once

#include <support/call_journal.hpp>
#include <support/captured_log.hpp>
#include <support/fake_filesystem.hpp>
#include <support/fake_system.hpp>

#include <memory>
#include <string>
#include <utility>

namespace zant::velmora::test_support {

/// A host of fakes that share one journal: file operations, commands and log records in the order in which
/// they came. A record reads "log SEVERITY CHANNEL: MESSAGE".
class Recorded_Host {
 public:
  Recorded_Host() {
    log.on_record([journal = journal_](const Captured_Record& record) {
      journal->push_back("log " + std::to_string(record.severity) + ' ' + record.channel + ": " +
                         record.message);
    });
  }

  /// Everything since the last call, which it forgets.
  Call_Journal take_journal() { return std::exchange(*journal_, {}); }

  /// For a double that is to write into the same journal.
  const std::shared_ptr<Call_Journal>& journal() const { return journal_; }

 private:
  std::shared_ptr<Call_Journal> journal_ = make_journal();

 public:
  std::shared_ptr<Fake_Filesystem> files = std::make_shared<Fake_Filesystem>(journal_);
  std::shared_ptr<Fake_System> system = std::make_shared<Fake_System>(journal_);
  Captured_Log log;
};

}  // namespace zant::velmora::test_support
