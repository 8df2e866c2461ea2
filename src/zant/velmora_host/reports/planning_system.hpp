#pragma once

#include <zant/velmora_host/families/family.hpp>
#include <zant/velmora_host/reports/plan.hpp>

#include <zant/velmora/host/system.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A command service that runs what only looks, and of the rest says that it succeeded. A query that depends
/// on files which are planned to change is answered as it would be then. Used by one thread.
class Planning_System : public velmora::System {
 public:
  /// @param real    the services as they are.
  /// @param family  of the host; outlives this object.
  /// @param planned the files as the plan has them.
  Planning_System(const Host_Services& real, const Family& family,
                  std::shared_ptr<velmora::Filesystem> planned);

  velmora::Command_Result run_command(const std::string& command, bool flag) override;

  /// In the order in which they were asked for.
  const std::vector<Planned_Command>& planned() const noexcept { return planned_; }

  /// The host's own answer to a query; nothing when it was not asked, or answered by the plan.
  std::optional<velmora::Command_Result> answer_to(const std::string& query) const;

 private:
  velmora::Command_Result answer_(const std::string& query, bool flag);
  bool is_noop_(const Command_Traits& traits);

  Host_Services real_;
  const Family& family_;
  std::shared_ptr<velmora::Filesystem> planned_files_;
  std::vector<Planned_Command> planned_;
  std::map<std::string, velmora::Command_Result> answers_;
};

}  // namespace zant::velmora_host
