#include <zant/velmora_host/observation/logged_failure.hpp>

namespace zant::velmora_host {

using zant::logging::severity_level;

std::optional<Cycle_Record::Failure> find_logged_failure(const Log_Record& record) {
  if (record.severity < severity_level::error) {
    return std::nullopt;
  }
  if (record.channel == "Choco_Exe") {
    return Cycle_Record::Failure{Failure_Kind::REPOSITORY, record.message};
  }
  if (record.channel == "Choco_Upgrade_Task_Scheduler") {
    return Cycle_Record::Failure{Failure_Kind::UPGRADES, record.message};
  }
  return std::nullopt;
}

Logged_Failure_Watch::Logged_Failure_Watch()
    : observer_(severity_level::error, [this](const Log_Record& record) {
        if (find_logged_failure(record)) {
          has_noticed_one_ = true;
        }
      }) {}

}  // namespace zant::velmora_host
