#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/minding/acting_services.hpp>
#include <zant/velmora_host/observation/cycle_observation.hpp>

#include <zant/velmora/package_minder/package_minder.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {

/// Cycles on a host, once there are a state directory that nobody else works in and a staging directory.
class Prepared_Cycles {
 public:
  /// Renders the host's files into the staging directory; changes nothing else on the host.
  ///
  /// @param name who runs the cycles, for the record.
  /// @param host outlives the object, as its settings do.
  /// @throws what the library throws when it cannot work on this host, after recording a failed cycle.
  Prepared_Cycles(const std::string& name, const Minded_Host& host,
                  const boost::filesystem::path& staging_directory);

  /// Runs one cycle and returns its record with the history. Failures of steps are in the record.
  Cycle_State run_cycle();

  /// The minder over the observed package, for a thread that runs the cycles.
  std::shared_ptr<velmora::Package_Minder> minder() const { return minder_; }

  /// Called after each cycle, on the thread that ran it. To be added before the first one.
  void add_listener(Cycle_Recorder::Listener listener) { observation_.add_listener(std::move(listener)); }

  /// A verdict has been found. From any thread.
  void note_verdict(const Verdict& verdict, const std::optional<std::vector<Signing_Key>>& keys) const {
    observation_.note_verdict(verdict, keys);
  }

  const Cycle_Watch& watch() const noexcept { return observation_.watch(); }

 private:
  std::shared_ptr<velmora::Package_Minder> make_minder_();

  const Minded_Host& host_;
  Acting_Services acting_;
  Cycle_Observation observation_;
  std::unique_ptr<Package_Factory> factory_;
  std::shared_ptr<velmora::Package_Minder> minder_;
  std::optional<Cycle_State> last_state_;
};

}  // namespace zant::velmora_host
