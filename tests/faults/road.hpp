#pragma once

#include <faults/simulated_host.hpp>

#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zant::velmora_host::faults {

inline const std::string STATE_DIRECTORY = "/var/lib/package-minder";
inline const std::string STAGING_DIRECTORY = STATE_DIRECTORY + "/staging";

/// What a process does with a host, from its start to its end.
enum class Work { CYCLE, PURGE, PURGE_OF_UPGRADES, HOLD, RELEASE };

/// How a process ended.
enum class Outcome {
  SUCCEEDED,  ///< and said so
  FAILED,     ///< and said so, or could not start
  ENDED,      ///< was killed, or the power was cut
  REFUSED     ///< and must be corrected by hand
};

/// One stage of a product's life on a host: a state of the host, and the work that is done with it.
struct Stage {
  std::string name;
  Work work;
  std::shared_ptr<const Settings> settings;
  Host_State before;
  Host_State after;                 ///< of work that nothing disturbs, the server answering
  std::optional<Host_State> fresh;  ///< what a purge gives back
  std::vector<Call> calls;          ///< of work that nothing disturbs
  bool server_answers = true;
  Outcome outcome = Outcome::SUCCEEDED;  ///< of work that nothing disturbs

  // Of situations that were played before. Nothing but the host's state decides what becomes of it, and most
  // faults leave it in one of few states.

  /// The host after a process that has met one fault, by the fault.
  mutable std::map<std::pair<std::size_t, Fault>, Host_State> known_beginnings = {};
  /// What was violated after all faults, by what is done then and the host's state before it.
  mutable std::unordered_map<std::string, std::optional<std::string>> known_ends = {};
};

/// The whole life of a product on a host of one family: set up, drift of every kind, repair, hold, release,
/// settings changed, purge, and again.
class Road {
 public:
  explicit Road(std::shared_ptr<Simulated_Host> host, std::string family);

  const std::string& family() const noexcept { return family_; }
  const std::vector<Stage>& stages() const noexcept { return stages_; }

  /// The host after the first stage.
  const Host_State& set_up() const noexcept { return stages_.front().after; }

  Simulated_Host& host() const noexcept { return *host_; }

  /// Lets a new process work on the host as it is.
  Outcome work(Work work, const Settings& settings) const;

 private:
  using Settings_Pointer = std::shared_ptr<const Settings>;

  void keep_staging_tree_();
  void make_staging_directory_anew_() const;
  void add_cycles_();
  void add_drift_(const Host_State& set_up);
  void add_drift_of_tools_(const Host_State& set_up);
  void add_holds_(const Host_State& set_up);
  void add_changed_settings_(const Host_State& set_up);
  void add_purges_(const Host_State& set_up);
  const Stage& add_(const std::string& name, Work work, const Settings_Pointer& settings,
                    const Host_State& before, bool server_answers = true);
  Outcome work_on_(Work work, const Minded_Host& host) const;
  Outcome cycle_(const Minded_Host& host) const;
  Outcome hold_(const Minded_Host& host, bool held) const;

  std::shared_ptr<Simulated_Host> host_;
  std::string family_;
  Settings_Pointer scheduled_;
  Settings_Pointer unscheduled_;
  Settings_Pointer without_upgrades_;
  Settings_Pointer elsewhere_;
  Simulated_Disk::Entries staging_tree_;
  Host_State fresh_;
  std::vector<Stage> stages_;
};

}  // namespace zant::velmora_host::faults
