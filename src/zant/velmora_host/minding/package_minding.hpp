#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/observation/cycle_record.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>
#include <zant/velmora_host/verdict/verdict.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// Minding of the package by this process: cycles in the background or one at a time, each with its record in
/// the state directory and, if the settings want them, metrics. No other process can mind with the same state
/// directory while the object lives.
///
/// Not synchronised: called from one thread. Listeners are called from the thread that runs the cycle.
class PACKAGE_MINDER_HOST_EXPORT Package_Minding {
 public:
  using Listener = std::function<void(const Cycle_State& state)>;
  using Verdict_Listener = std::function<void(const Verdict& verdict)>;

  /// Prepares everything and changes nothing on the host outside the state directory.
  ///
  /// @param name     who minds, for the record: the name of the server.
  /// @param settings copied.
  /// @param services those of `make_host_services`, or others that pass the contract suites.
  /// @throws Refusal when the host has no supported package manager, another process works in the state
  ///         directory, or the settings, the staging tree or the state directory are not usable; an error of
  ///         libpackage_minder when it cannot work on this host; std::runtime_error when what a cycle needs
  ///         is not there yet, such as the package on an APT host. The last two are recorded as a failed
  ///         cycle.
  Package_Minding(const std::string& name, const Settings& settings, const Host_Services& services);

  /// Stops the background cycles; returns after the cycle under way.
  ~Package_Minding();
  Package_Minding(const Package_Minding&) = delete;
  Package_Minding& operator=(const Package_Minding&) = delete;

  /// Calls the listener after each cycle. To be added before the first one.
  void add_listener(Listener listener);

  /// Calls the listener with each verdict that is found while cycles run in the background: after the first
  /// one, and then when something has changed that it depends on, or `minder.verdict_interval` has passed.
  /// From a thread of its own, beside which cycles go on; `stop` waits for it. To be added before `start`.
  void add_verdict_listener(Verdict_Listener listener);

  /// Runs one cycle in this thread, and returns its record with the history. What failed is in the record.
  /// Not while cycles run in the background.
  Cycle_State run_cycle();

  /// Runs a cycle at once, and one after every `minder.interval`, in a thread of its own until `stop` or the
  /// end of the object. What fails in a cycle is logged and recorded, and tried again in the next one. A
  /// second thread finds out whether the package upgrades on this host, and logs when that becomes worse or
  /// better; it changes nothing and uses no network.
  void start();

  /// Ends the background cycles; returns after the cycle under way. Without effect when none run. What is
  /// being asked for the verdict is given up; with a command service that is no `Interruptible_System`, the
  /// command under way is waited for.
  void stop();

  /// False when the background worker has been doing the same thing for longer than the interval or the
  /// commands' time limits allow: it is stuck. An installation may take as long as it likes.
  bool is_alive() const;

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

/// Holds the package against upgrades; false when the host's tool failed, which the log explains. A minding
/// process releases the hold in its next cycle. Needs no state directory and works beside other processes.
///
/// @throws Refusal as `Package_Minding`.
PACKAGE_MINDER_HOST_EXPORT bool hold_package(const Settings& settings, const Host_Services& services);

/// Releases the package's hold; false when the host's tool failed, which the log explains.
///
/// @throws Refusal as `Package_Minding`.
PACKAGE_MINDER_HOST_EXPORT bool release_package(const Settings& settings, const Host_Services& services);

/// How much a purge undoes.
enum class Purge_Scope {
  EVERYTHING,  ///< the repository's registration too, and what is kept in the state directory
  UPGRADES,    ///< the automatic upgrades only
};

/// Undoes what was set up on the host. Nobody may mind with the same state directory meanwhile.
///
/// @return what could not be undone, a sentence each; empty when all is undone. After a failure the state
///         directory stays, so that the purge can be repeated.
/// @throws Refusal as `Package_Minding`.
PACKAGE_MINDER_HOST_EXPORT std::vector<std::string> purge(Purge_Scope scope, const Settings& settings,
                                                          const Host_Services& services);

}  // namespace zant::velmora_host
