#pragma once

#include <faults/fault_plan.hpp>
#include <faults/simulated_disk.hpp>

#include <zant/velmora_host/services/host_services.hpp>

#include <zant/velmora/host/system.hpp>

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace zant::velmora_host::faults {

/// What package manager and systemd know beside the files.
struct Tool_State {
  bool is_held = false;
  bool has_upgrade_package = false;  ///< the package that carries automatic upgrades out
  bool upgrade_service_runs = false;
  bool timer_runs = false;
  bool other_timers_run = false;
  bool key_is_imported = false;
  std::string list_in_use;                             ///< the source list that the last good refresh read
  std::map<std::string, std::string> loaded_drop_ins;  ///< of the timer, by path

  bool operator==(const Tool_State&) const = default;
};

/// A host at one moment.
struct Host_State {
  Tool_State tools;
  Simulated_Disk::Entries disk;
};

/// A host whose package manager and systemd have a state, and answer the library's command lines by it. A
/// command line that it does not know fails the test that runs it.
class Simulated_Host : public velmora::System, public std::enable_shared_from_this<Simulated_Host> {
 public:
  Simulated_Host();

  Host_Services services() { return {shared_from_this(), disk_}; }
  Fault_Plan& plan() const noexcept { return *plan_; }
  Simulated_Disk& disk() const noexcept { return *disk_; }
  Tool_State& tools() noexcept { return tools_; }

  /// The repository's server answers, or not.
  void set_server(bool answers) noexcept { server_answers_ = answers; }

  Host_State state() const { return {tools_, disk_->entries()}; }
  void restore(const Host_State& state);

  /// The same text for states that are the same, and for no others, apart from times and counters in records.
  std::string text_of_state() const;

  /// What process 1 does when the host starts.
  void start_anew();

  velmora::Command_Result run_command(const std::string& line, bool flag) override;

 protected:
  struct Answer {
    int exit_code = 0;
    std::string output = {};
  };

  /// What a command line does.
  void on_question(const std::string& line, std::function<Answer()> ask);
  void on_command(const std::string& line, std::function<Answer()> change);

  /// The command lines about the timer, which starts with the host when it is enabled.
  void on_timer(const std::string& timer, bool is_enabled);

  bool server_answers() const noexcept { return server_answers_; }

 private:
  struct Command {
    Call_Kind kind;
    std::function<Answer()> run;
  };

  Answer meet_(Fault fault, const Command& command);
  std::map<std::string, std::string> drop_ins_() const;
  bool needs_reload_() const;

  std::shared_ptr<Fault_Plan> plan_ = std::make_shared<Fault_Plan>();
  std::shared_ptr<Simulated_Disk> disk_ = std::make_shared<Simulated_Disk>(plan_);
  Tool_State tools_;
  bool server_answers_ = true;
  std::string drop_in_directory_;
  bool timer_is_enabled_ = false;
  std::map<std::string, Command> commands_;
};

/// A Debian host with systemd, on which the package is installed and upgrades have files of the host's own.
std::shared_ptr<Simulated_Host> make_apt_host();

/// A host of the RHEL family with systemd, on which the package is installed.
std::shared_ptr<Simulated_Host> make_dnf_host();

}  // namespace zant::velmora_host::faults
