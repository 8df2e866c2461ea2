#include <zant/velmora_host/observation/cycle_observation.hpp>

#include <zant/velmora_host/observation/observed_filesystem.hpp>
#include <zant/velmora_host/observation/observed_package.hpp>
#include <zant/velmora_host/observation/observed_system.hpp>
#include <zant/velmora_host/services/forgiving_filesystem.hpp>
#include <zant/velmora_host/staging/metrics_file.hpp>
#include <zant/velmora_host/verdict/verdict_keeper.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;

// Tells the watch what the worker is doing, and the recorder what changes the host.
class Cycle_Command_Observer : public Command_Observer {
 public:
  Cycle_Command_Observer(std::shared_ptr<Cycle_Recorder> recorder, std::shared_ptr<Cycle_Watch> watch)
      : recorder_(std::move(recorder)), watch_(std::move(watch)) {}

  void note_begin(Command_Kind kind) override { watch_->note_command_begin(kind); }

  void note_end(const Ended_Command& command, Command_Kind kind, double seconds) override {
    watch_->note_command_end();
    if (kind != Command_Kind::QUERY) {
      recorder_->note_command(command.line, command.exit_code, seconds);
    }
  }

  void note_failure(const Cycle_Failure& failure) override { recorder_->note_failure(failure); }
  void note_key_import(const Key_Import& import) override { recorder_->note_key_import(import); }

 private:
  std::shared_ptr<Cycle_Recorder> recorder_;
  std::shared_ptr<Cycle_Watch> watch_;
};

}  // namespace

Cycle_Observation::Cycle_Observation(const std::string& program, const Minded_Host& host,
                                     const Host_Services& acting, const path& staging_directory)
    : watch_(std::make_shared<Cycle_Watch>(
          host.settings.interval(), host.settings.command_time_limit() + host.settings.command_kill_delay())),
      recorder_(std::make_shared<Cycle_Recorder>(
          program, std::make_shared<Forgiving_Filesystem>(host.services.filesystem), host.family,
          cycle_store::file_in(host.settings.state_directory()))),
      metrics_(std::make_shared<Metrics_File_Writer>(host, staging_directory)),
      observed_services_{
          std::make_shared<Observed_System>(acting, host.family, Occasion::CYCLE,
                                            std::make_shared<Cycle_Command_Observer>(recorder_, watch_)),
          std::make_shared<Observed_Filesystem>(acting.filesystem, recorder_, staging_directory)},
      log_observer_(severity_level::notice, [recorder = recorder_](const Log_Record& record) {
        // A verdict may be found while a cycle runs.
        if (!Verdict_Keeper::is_this_thread()) {
          recorder->note_log(record.severity, record.message);
        }
      }) {
  recorder_->add_listener([metrics = metrics_](const Cycle_State& state) { metrics->note_cycle(state); });
}

std::shared_ptr<velmora::Package> Cycle_Observation::observe(
    std::shared_ptr<velmora::Package> package) const {
  return std::make_shared<Observed_Package>(std::move(package), recorder_, watch_);
}

void Cycle_Observation::record_failed_start(const std::string& reason) const {
  recorder_->begin_cycle();
  recorder_->end_cycle(Cycle_Failure{Cycle_Step::REPOSITORY, reason});
}

void Cycle_Observation::note_verdict(const Verdict& verdict,
                                     const std::optional<std::vector<Signing_Key>>& keys) const {
  metrics_->note_verdict(verdict, keys);
}

void remove_observations(const Settings& settings, velmora::Filesystem& filesystem) {
  filesystem.remove(verdict_store::file_in(settings.state_directory()));
  filesystem.remove(cycle_store::file_in(settings.state_directory()));
  if (!settings.metrics_file().empty() && may_write_metrics_file(settings.metrics_file())) {
    filesystem.remove(settings.metrics_file());
  }
}

}  // namespace zant::velmora_host
