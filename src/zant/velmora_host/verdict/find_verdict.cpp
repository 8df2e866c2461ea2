#include <zant/velmora_host/verdict/find_verdict.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <chrono>

namespace zant::velmora_host {

Verdict find_verdict(const Minded_Host& host, const Upgrade_History& history, bool online) {
  const Temporary_Directory directory;
  const auto now = std::chrono::system_clock::now();
  Verdict verdict;
  verdict.found = now;
  verdict.online = online;
  verdict.outlook = host.family.find_upgrade_outlook(
      {host.settings, host.services, host.init, directory.path(), online, now});
  verdict.history = remembered(history, verdict.outlook, now);
  verdict.kind = judge(verdict.outlook, verdict.history, host.settings.overdue_after(), now);
  return verdict;
}

}  // namespace zant::velmora_host
