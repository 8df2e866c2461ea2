#include <zant/velmora_host/observation/cycle_observation.hpp>

#include <zant/velmora_host/observation/installation_watch.hpp>
#include <zant/velmora_host/observation/observed_filesystem.hpp>
#include <zant/velmora_host/observation/observed_package.hpp>
#include <zant/velmora_host/observation/observed_system.hpp>
#include <zant/velmora_host/observation/stalled_installation.hpp>
#include <zant/velmora_host/services/forgiving_filesystem.hpp>
#include <zant/velmora_host/staging/metrics_file.hpp>
#include <zant/velmora_host/verdict/outlook_stamp.hpp>
#include <zant/velmora_host/verdict/verdict_keeper.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <optional>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;

// Tells other processes, and whoever reads the metrics, of an installation that makes no progress.
class Stall_Reporter {
 public:
  Stall_Reporter(const Minded_Host& host, std::shared_ptr<Metrics_File_Writer> metrics)
      : filesystem_(host.services.filesystem),
        file_(stalled_installation::file_in(host.settings.state_directory())),
        traces_(host.family.installation_traces()),
        metrics_(std::move(metrics)) {
    // What a process has left that was killed.
    stalled_installation::write(*filesystem_, file_, std::nullopt);
  }

  std::string trace() const { return outlook_stamp(traces_, *filesystem_); }

  void tell(const std::optional<Stalled_Installation>& stalled) const {
    stalled_installation::write(*filesystem_, file_, stalled);
    metrics_->note_installation(stalled.has_value());
  }

 private:
  std::shared_ptr<Host_Filesystem> filesystem_;
  path file_;
  std::vector<path> traces_;
  std::shared_ptr<Metrics_File_Writer> metrics_;
};

// Tells the watches what the worker is doing, and the recorder what changes the host.
class Cycle_Command_Observer : public Command_Observer {
 public:
  Cycle_Command_Observer(std::shared_ptr<Cycle_Recorder> recorder, std::shared_ptr<Cycle_Watch> watch,
                         Stall_Reporter stall_reporter)
      : recorder_(std::move(recorder)),
        watch_(std::move(watch)),
        stall_reporter_(std::move(stall_reporter)) {}

  void note_begin(const std::string& line, Command_Kind kind) override {
    watch_->note_command_begin(kind);
    installation_watch_.reset();
    if (kind == Command_Kind::INSTALLS_PACKAGES) {
      installation_watch_.emplace(
          line, [this] { return stall_reporter_.trace(); },
          [this](const auto& stalled) { stall_reporter_.tell(stalled); });
    }
  }

  void note_end(const Ended_Command& command, Command_Kind kind, double seconds) override {
    watch_->note_command_end();
    installation_watch_.reset();
    if (kind != Command_Kind::QUERY) {
      recorder_->note_command(command.line, command.exit_code, seconds);
    }
  }

  void note_failure(const Cycle_Failure& failure) override { recorder_->note_failure(failure); }
  void note_key_import(const Key_Import& import) override { recorder_->note_key_import(import); }

 private:
  std::shared_ptr<Cycle_Recorder> recorder_;
  std::shared_ptr<Cycle_Watch> watch_;
  Stall_Reporter stall_reporter_;
  std::optional<Installation_Watch> installation_watch_;
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
          std::make_shared<Observed_System>(
              acting, host.family, Occasion::CYCLE,
              std::make_shared<Cycle_Command_Observer>(recorder_, watch_, Stall_Reporter(host, metrics_))),
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
  filesystem.remove(stalled_installation::file_in(settings.state_directory()));
  if (!settings.metrics_file().empty() && may_write_metrics_file(settings.metrics_file())) {
    filesystem.remove(settings.metrics_file());
  }
}

}  // namespace zant::velmora_host
