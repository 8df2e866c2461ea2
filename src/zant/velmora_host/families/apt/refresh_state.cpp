#include <zant/velmora_host/families/apt/refresh_state.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/families/apt/apt_weaknesses.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/refresh_age.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/apt/apt_repo_config.hpp>

#include <fmt/format.h>

namespace zant::velmora_host::apt_outlook {
namespace {

using std::chrono::hours;
using std::chrono::system_clock;

constexpr hours ONE_DAY(24);

// Only a refresh that succeeds makes it anew.
constexpr const char* STAMP = "/var/lib/apt/periodic/update-stamp";
constexpr const char* REMEDY = "apt-get -o APT::Update::Error-Mode=any update";

// "SITE_PATH_dists_SUITE_main_binary-ARCH_Packages" stands beside "SITE_PATH_dists_SUITE_InRelease".
std::string release_beside(const std::string& index) {
  const auto end = index.rfind("_main_binary-");
  return end == std::string::npos ? "" : index.substr(0, end) + "_InRelease";
}

Causes find_refusal(const Outlook_Question& question) {
  const auto& [settings, services] = std::tie(question.settings, question.services);
  const velmora::APT_Repo_Config repo(services.system, settings.configuration(), settings.staging_directory(),
                                      question.init);
  const auto faults = find_apt_refresh_faults(services, repo.source_list.url, repo.source_list.channel,
                                              velmora::APT_Constants::REPO_KEYRING_PATH, question.now);
  Causes causes;
  for (const auto& fault : faults) {
    if (fault.code != "repository.signature_refused") {
      continue;
    }
    const bool is_known_key = fault.what.find("which the keyring has:") != std::string::npos;
    causes.push_back(obscures(is_known_key ? "repository.index_refused" : fault.code, fault.what,
                              fault.where + " is what it refused",
                              is_known_key ? "Run \"package-minder why --online\" to see why APT refuses it"
                                           : remedy_for_signature(question)));
  }
  return causes;
}

// A server that cannot be reached is no failure to "apt-get update": what fails is something that will fail
// again.
Causes find_failed_refresh(const Outlook_Question& question,
                           const std::optional<std::chrono::system_clock::time_point>& refreshed,
                           const std::optional<std::chrono::system_clock::time_point>& last_run) {
  if (!last_run) {
    return {};
  }
  const auto answer = ask(question, fmt::format("stat --format=%Y {}", STAMP));
  const auto succeeded = answer.succeeded() ? parse_epoch(answer.words) : std::nullopt;
  const auto is_old = [&last_run](const auto& time) { return !time || *time < *last_run; };
  if (!is_old(succeeded) || !is_old(refreshed)) {
    return {};
  }
  return {obscures(
      "repository.refresh_failed", "the host's last refresh of its package lists failed",
      fmt::format("{} is older than the last run of apt-daily.service, at {}", STAMP, to_iso_time(*last_run)),
      fmt::format("Run \"{}\" and put right what it complains of", REMEDY))};
}

// A host that was switched off has a refresh to catch up on, which its timer will start: that it is old says
// nothing. Where the timer has fired since, or the host has been up for a day, it does.
bool is_catching_up(const Outlook_Question& question, system_clock::time_point refreshed,
                    const Upgrade_Units& units) {
  const auto answer = ask(question, "ps -o etimes= -p 1");
  const auto up_for = answer.succeeded() ? parse_epoch(answer.words) : std::nullopt;
  const bool is_due_soon = units.next_refresh && *units.next_refresh - question.now < ONE_DAY;
  const bool has_fired = units.refresh_triggered && *units.refresh_triggered > refreshed + hours(1);
  return up_for && up_for->time_since_epoch() < ONE_DAY && is_due_soon && !has_fired;
}

}  // namespace

std::string remedy_for_signature(const Outlook_Question& question) {
  namespace APT_Constants = velmora::APT_Constants;
  const auto shipped =
      question.settings.staging_directory() / "keyrings" / APT_Constants::APT_REPO_KEYRING_FILE;
  return question.services.filesystem->files_equal(shipped, APT_Constants::REPO_KEYRING_PATH)
             ? "Ask the vendor which key signs the repository, and for that key"
             : "package-minder once";
}

Refresh_State find_refresh_state(const Outlook_Question& question, const std::string& index, bool is_asked,
                                 const std::optional<system_clock::time_point>& last_run,
                                 const Upgrade_Units& units) {
  Refresh_State state;
  const std::string release = release_beside(index);
  const auto answer = ask(question, fmt::format("stat --format=%Z {}", quoted(release)));
  state.refreshed = answer.succeeded() ? parse_epoch(answer.words) : std::nullopt;
  if (!is_asked) {
    state.causes = find_refusal(question);
  }
  if (!is_asked && state.causes.empty()) {
    append(state.causes, find_failed_refresh(question, state.refreshed, last_run));
  }
  if (!state.refreshed) {
    state.causes.push_back(obscures("repository.not_refreshed",
                                    "APT has never had an answer from the repository, or has lost it",
                                    told("stat " + release, answer.words), REMEDY));
    return state;
  }
  const auto old = find_old_refresh(release, *state.refreshed, question.now, REMEDY);
  if (old && !is_catching_up(question, *state.refreshed, units)) {
    state.causes.push_back(obscures(old->code, old->what, old->where, old->remedy));
  }
  return state;
}

}  // namespace zant::velmora_host::apt_outlook
