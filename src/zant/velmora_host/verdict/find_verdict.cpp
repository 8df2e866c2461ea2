#include <zant/velmora_host/verdict/find_verdict.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/services/bounded_system.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;

// Tools may print without end, and all of it is stored, printed and sent on.
constexpr std::size_t LONGEST_SENTENCE = 500;
constexpr std::size_t LONGEST_EVIDENCE = 2000;
constexpr std::size_t MOST_CAUSES = 50;

// Names of files and what repositories say may have line ends in them, of which a terminal makes commands.
std::string typeable(const Cause& cause) {
  return is_plain_text(cause.remedy) || !is_command(cause.remedy)
             ? printable_lines(cause.remedy, " ")
             : "Put right what the evidence names; its name cannot be typed";
}

void bound(Causes& causes) {
  if (causes.size() > MOST_CAUSES) {
    causes.resize(MOST_CAUSES);
  }
  for (auto& cause : causes) {
    cause.message = shortened(cause.message, LONGEST_SENTENCE);
    cause.evidence = shortened(cause.evidence, LONGEST_EVIDENCE);
    cause.remedy = shortened(typeable(cause), LONGEST_EVIDENCE);
  }
}

void bound(Upgrade_Outlook& outlook) {
  outlook.installed = shortened(outlook.installed, LONGEST_SENTENCE);
  outlook.offered = shortened(outlook.offered, LONGEST_SENTENCE);
  if (outlook.last_run) {
    outlook.last_run->result = shortened(outlook.last_run->result, LONGEST_SENTENCE);
  }
  bound(outlook.causes);
}

void remove_repeated(Causes& causes) {
  Causes different;
  for (const auto& cause : causes) {
    const bool is_known = std::any_of(different.begin(), different.end(), [&cause](const Cause& known) {
      return known.code == cause.code && known.evidence == cause.evidence;
    });
    if (!is_known) {
      different.push_back(cause);
    }
  }
  causes = std::move(different);
}

bool has_code(const Causes& causes, std::string_view code) {
  return std::any_of(causes.begin(), causes.end(), [code](const Cause& cause) { return cause.code == code; });
}

Upgrade_Outlook ask(const Minded_Host& host, const std::shared_ptr<Bounded_System>& system, bool online,
                    system_clock::time_point now, const Planned_Files& planned) {
  try {
    const Temporary_Directory directory;
    return host.family.find_upgrade_outlook({host.settings,
                                             {system, host.services.filesystem},
                                             host.init,
                                             directory.path(),
                                             online,
                                             now,
                                             planned});
  } catch (const std::exception& error) {
    Upgrade_Outlook outlook;
    outlook.causes.push_back({Cause_Effect::OBSCURES, "tools.failed",
                              "Whether the package upgrades could not be found out", error.what(),
                              "See what the evidence says of this host"});
    return outlook;
  }
}

}  // namespace

Verdict find_verdict(const Minded_Host& host, const Upgrade_History& history, bool online,
                     const Command_Bounds& bounds, const Planned_Files& planned) {
  const auto system = std::make_shared<Bounded_System>(host.services.system, bounds);
  const auto now = system_clock::now();
  Verdict verdict;
  verdict.found = now;
  verdict.online = online;
  verdict.outlook = ask(host, system, online, now, planned);
  const auto cut = system->first_cut();
  if (cut && !has_code(verdict.outlook.causes, "tools.time_limit")) {
    verdict.outlook.causes.push_back({Cause_Effect::OBSCURES, "tools.time_limit",
                                      "The host's tools did not answer in time",
                                      fmt::format("\"{}\" did not end in time", *cut),
                                      "Ask again when the host is less busy; if that does not help, run the "
                                      "command of the evidence to see what it waits for"});
  }
  remove_repeated(verdict.outlook.causes);
  bound(verdict.outlook);
  verdict.history = remembered(history, verdict.outlook, now);
  verdict.kind = judge(verdict.outlook, verdict.history, host.settings.overdue_after(), now);
  return verdict;
}

}  // namespace zant::velmora_host
