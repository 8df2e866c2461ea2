#include <zant/velmora_host/observation/cycle_observation.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/observation/logged_failure.hpp>
#include <zant/velmora_host/observation/metrics.hpp>
#include <zant/velmora_host/observation/observed_filesystem.hpp>
#include <zant/velmora_host/observation/observed_package.hpp>
#include <zant/velmora_host/observation/observed_system.hpp>

#include <zant/velmora/apt/apt_constants.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;

// The keyring does not change while the program runs: it works on a copy.
std::vector<Signing_Key> read_keys(const Host_Services& services, const path& staging_directory) {
  const path keyring = staging_directory / "keyrings" / velmora::APT_Constants::APT_REPO_KEYRING_FILE;
  if (!services.filesystem->exists(keyring)) {
    return {};
  }
  return read_keyring(*services.system, keyring).value_or(std::vector<Signing_Key>{});
}

Cycle_Recorder::Listener metrics_writer(const Settings& settings, const Host_Services& services,
                                        const path& staging_directory) {
  return [file = settings.metrics_file(), filesystem = services.filesystem,
          keys = read_keys(services, staging_directory)](const Cycle_State& state) {
    filesystem->write_file(file, metrics_text(state, keys), velmora::Write_Flag::REPLACE);
  };
}

}  // namespace

Cycle_Observation::Cycle_Observation(const std::string& program, const Settings& settings,
                                     const Host_Services& services, const path& staging_directory)
    : watch_(std::make_shared<Cycle_Watch>(settings.interval(),
                                           settings.command_time_limit() + settings.command_kill_delay())),
      recorder_(std::make_shared<Cycle_Recorder>(program, services.filesystem,
                                                 cycle_store::file_in(settings.state_directory()))),
      observed_services_{
          std::make_shared<Observed_System>(services.system, recorder_, watch_),
          std::make_shared<Observed_Filesystem>(services.filesystem, recorder_, staging_directory)},
      log_observer_(severity_level::notice, [recorder = recorder_](const Log_Record& record) {
        recorder->note_log(record.severity, record.message);
        if (const auto failure = find_logged_failure(record)) {
          recorder->note_failure(*failure);
        }
      }) {
  if (!settings.metrics_file().empty()) {
    recorder_->add_listener(metrics_writer(settings, services, staging_directory));
  }
}

std::shared_ptr<velmora::Package> Cycle_Observation::observe(
    std::shared_ptr<velmora::Package> package) const {
  return std::make_shared<Observed_Package>(std::move(package), recorder_, watch_);
}

void remove_observations(const Settings& settings, velmora::Filesystem& filesystem) {
  filesystem.remove(cycle_store::file_in(settings.state_directory()));
  if (!settings.metrics_file().empty()) {
    filesystem.remove(settings.metrics_file());
  }
}

std::string describe(const Cycle_Record& record) {
  const std::string when =
      fmt::format("Last cycle {}, {:.1f} s: ", to_iso_time(record.started), record.seconds);
  if (record.failure) {
    return when + "failed, " + printable(record.failure->message);
  }
  const std::size_t changes = std::max(record.actions.size(), record.files.size());
  if (changes == 0) {
    return when + "everything in step";
  }
  const std::string& first = record.actions.empty() ? record.files.front().path : record.actions.front();
  return when + fmt::format("{} change{}, first: {}", changes, changes == 1 ? "" : "s", printable(first));
}

}  // namespace zant::velmora_host
