#pragma once

#include <zant/velmora/host/system.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A command that was asked for and not run.
struct Planned_Command {
  std::string line;
  bool is_noop;  ///< the library repeats it in every cycle, and this time it would change nothing
};

/// A command service that runs what only looks, and of the rest says that it succeeded. Used by one thread.
class Planning_System : public velmora::System {
 public:
  explicit Planning_System(std::shared_ptr<velmora::System> real);

  velmora::Command_Result run_command(const std::string& command, bool flag) override;

  /// In the order in which they were asked for.
  const std::vector<Planned_Command>& planned() const noexcept { return planned_; }

  /// How a query ended the last time; nothing when it was not asked.
  std::optional<int> exit_code_of(const std::string& query) const;

 private:
  bool is_noop_(const std::string& command);

  std::shared_ptr<velmora::System> real_;
  std::vector<Planned_Command> planned_;
  std::map<std::string, int> exit_codes_;
};

}  // namespace zant::velmora_host
