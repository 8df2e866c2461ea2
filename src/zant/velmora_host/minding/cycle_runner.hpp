#pragma once

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/observation/cycle_observation.hpp>
#include <zant/velmora_host/staging/work_area.hpp>

#include <zant/velmora/package_minder/package_minder.hpp>

#include <memory>
#include <string>
#include <utility>

namespace zant::velmora_host {

/// Everything that cycles need, while this process and no other works in the state directory.
class Cycle_Runner {
 public:
  /// Renders the host's files into the state directory; changes nothing else on the host.
  ///
  /// @param name     who runs the cycles, for the record.
  /// @param settings outlives the object.
  /// @throws Refusal when the host, the settings, the staging tree or the state directory do not allow it;
  ///         what the library throws when it cannot work on this host, after recording a failed cycle.
  Cycle_Runner(const std::string& name, const Settings& settings, const Host_Services& services,
               const Family_Registry& registry = Family_Registry::built_in());

  /// Runs one cycle and returns its record with the history. Failures of steps are in the record.
  Cycle_State run_cycle();

  /// The minder over the observed package, for a thread that runs the cycles.
  std::shared_ptr<velmora::Package_Minder> minder() const { return minder_; }

  /// Called after each cycle, on the thread that ran it. To be added before the first one.
  void add_listener(Cycle_Recorder::Listener listener) { observation_.add_listener(std::move(listener)); }

  /// The host, with its real services.
  const Minded_Host& host() const noexcept { return host_; }

  /// A verdict has been found. From any thread.
  void note_verdict(const Verdict& verdict, const std::optional<std::vector<Signing_Key>>& keys) const {
    observation_.note_verdict(verdict, keys);
  }

  const Cycle_Watch& watch() const noexcept { return observation_.watch(); }

 private:
  std::shared_ptr<velmora::Package_Minder> make_minder_() const;

  Minded_Host host_;
  Work_Area work_area_;
  Cycle_Observation observation_;
  std::unique_ptr<Package_Factory> factory_;
  std::shared_ptr<velmora::Package_Minder> minder_;
  Cycle_State last_state_;
};

}  // namespace zant::velmora_host
