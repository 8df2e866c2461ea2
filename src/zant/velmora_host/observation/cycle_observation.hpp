#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/observation/cycle_recorder.hpp>
#include <zant/velmora_host/observation/cycle_watch.hpp>
#include <zant/velmora_host/observation/log_observer.hpp>
#include <zant/velmora_host/observation/metrics_file_writer.hpp>

#include <zant/velmora/package_minder/package.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>
#include <utility>

namespace zant::velmora_host {

/// The record of the last cycle, the metrics if the settings want them, and the watch on the worker.
class Cycle_Observation {
 public:
  /// @param program           who runs the cycles: "run", "once", or the name of the server.
  /// @param acting            through which the cycles change the host; the record and the metrics are
  ///                          written through the host's own services.
  /// @param staging_directory the working copy that the library renders into.
  Cycle_Observation(const std::string& program, const Minded_Host& host, const Host_Services& acting,
                    const boost::filesystem::path& staging_directory);

  /// Through which the library is to work.
  const Host_Services& services() const noexcept { return observed_services_; }

  /// The package that the minder is to work on.
  std::shared_ptr<velmora::Package> observe(std::shared_ptr<velmora::Package> package) const;

  /// Records a cycle that failed before its first step.
  void record_failed_start(const std::string& reason) const;

  /// Called after each cycle, on the thread that ran it. To be added before the first one.
  void add_listener(Cycle_Recorder::Listener listener) { recorder_->add_listener(std::move(listener)); }

  /// A verdict has been found. From any thread.
  void note_verdict(const Verdict& verdict, const std::optional<std::vector<Signing_Key>>& keys) const;

  const Cycle_Watch& watch() const noexcept { return *watch_; }

 private:
  std::shared_ptr<Cycle_Watch> watch_;
  std::shared_ptr<Cycle_Recorder> recorder_;
  std::shared_ptr<Metrics_File_Writer> metrics_;
  Host_Services observed_services_;
  Log_Observer log_observer_;
};

/// Removes what the observation of cycles has left on the host.
void remove_observations(const Settings& settings, velmora::Filesystem& filesystem);

}  // namespace zant::velmora_host
