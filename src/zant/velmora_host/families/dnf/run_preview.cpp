#include <zant/velmora_host/families/dnf/run_preview.hpp>

#include <zant/velmora_host/base/iso_time.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/dnf/obstacle_causes.hpp>
#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/settings/build_config.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/dnf/dnf_repo_config.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <utility>

namespace zant::velmora_host::dnf_outlook {
namespace {

using Json = nlohmann::json;

// The interpreter of the host's DNF has its modules, and a host may have others. The last words of standard
// error are kept for who is told that it failed.
constexpr const char* PREVIEW_COMMAND =
    "interpreter=$(sed -n '1s/^#! *\\([^ ]*\\).*/\\1/p' \"$(command -v dnf)\") && "
    "timeout --kill-after=1 {0} \"$interpreter\" -B -I {1} {2}/request 2> {2}/errors || "
    "{{ status=$?; tail --bytes=1500 {2}/errors; exit $status; }}";
constexpr int OFFLINE_SECONDS = 8;
constexpr int ONLINE_SECONDS = 24;
constexpr std::size_t LONGEST_EVIDENCE = 2000;
// Of timeout, for a command that does not end when it is told to.
constexpr int KILLED = 137;

std::string evidence_of(const std::string& words) {
  return fmt::format("{}: {}", Build_Config::DNF_QUESTIONS_DIRECTORY,
                     whole_beginning(boost::algorithm::trim_copy(words), LONGEST_EVIDENCE));
}

Run_Preview failed(const std::string& words) {
  Run_Preview preview;
  preview.failure = cause_of_failure(evidence_of(words));
  return preview;
}

Run_Preview silent(int exit_code, int seconds) {
  Run_Preview preview;
  preview.failure =
      Cause{Cause_Effect::OBSCURES, "tools.time_limit",
            "DNF does not tell in time what the next run of its upgrades would do",
            evidence_of(fmt::format("exit code {}, no answer within {} seconds", exit_code, seconds)),
            "Ask again when the host is less busy; if that does not help, run dnf --cacheonly "
            "repolist to see what DNF waits for"};
  return preview;
}

Run_Preview preview_from(const Json& json) {
  Run_Preview preview;
  json.at("installed").get_to(preview.installed);
  json.at("offered").get_to(preview.offered);
  json.at("newer").get_to(preview.newer_is_offered);
  if (const auto& refreshed = json.at("refreshed"); !refreshed.is_null()) {
    preview.refreshed = time_since_epoch(refreshed.get<long long>());
  }
  preview.address = json.value("address", "");
  if (json.contains("locks")) {
    json.at("locks").get_to(preview.lock_files);
  }
  json.at("obstacles").get_to(preview.obstacles);
  return preview;
}

}  // namespace

Run_Preview preview_run(const Outlook_Question& question, const std::vector<std::string>& arguments) {
  const Json request = {{"package", velmora::Package_Constants::PACKAGE_NAME},
                        {"repository", velmora::DNF_Constants::DNF_REPO_ID},
                        {"directory", question.private_directory.string()},
                        {"arguments", arguments},
                        {"online", question.online},
                        {"address", velmora::DNF_Repo_Config(question.settings.configuration(),
                                                             question.settings.staging_directory())
                                        .base_url}};
  if (!question.services.filesystem->write_file(question.private_directory / "request",
                                                request.dump(-1, ' ', true, Json::error_handler_t::replace),
                                                velmora::Write_Flag::REPLACE)) {
    return failed("the request could not be written");
  }
  const int seconds = question.online ? ONLINE_SECONDS : OFFLINE_SECONDS;
  const auto answer = question.services.system->run_command(
      fmt::format(PREVIEW_COMMAND, seconds, Build_Config::DNF_QUESTIONS_DIRECTORY,
                  question.private_directory.string()),
      velmora::Run_Flag::WAIT_AND_CAPTURE);
  if (answer.exit_code == Exit_Code::TIME_LIMIT || answer.exit_code == KILLED) {
    return silent(answer.exit_code, seconds);
  }
  if (answer.exit_code != 0) {
    return failed(fmt::format("exit code {}: {}", answer.exit_code, answer.output));
  }
  try {
    return preview_from(Json::parse(answer.output));
  } catch (const Json::exception&) {
    return failed(answer.output.empty() ? "no output" : answer.output);
  }
}

}  // namespace zant::velmora_host::dnf_outlook
