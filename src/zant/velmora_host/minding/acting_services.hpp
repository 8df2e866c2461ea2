#pragma once

#include <zant/velmora_host/families/family.hpp>
#include <zant/velmora_host/minding/acting_filesystem.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>
#include <zant/velmora_host/minding/unfinished_work.hpp>
#include <zant/velmora_host/observation/cycle_record.hpp>
#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/package_minder/package.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <set>
#include <vector>

namespace zant::velmora_host {

/// The services through which a cycle or a purge changes a host, while this process works in the state
/// directory: see `Acting_Filesystem`. What earlier work was killed over is cleared away first.
class Acting_Services {
 public:
  using Path = boost::filesystem::path;

  /// @param settings whose state directory is there.
  Acting_Services(const Host_Services& real, const Family& family, const Settings& settings);

  const Host_Services& services() const noexcept { return services_; }

  /// Temporary files of killed processes that could not be removed.
  const std::vector<Path>& leftovers() const noexcept { return leftovers_; }

  /// The package that cycles work on, so that it is known which of their steps have come to their end.
  std::shared_ptr<velmora::Package> watch(std::shared_ptr<velmora::Package> package);

  /// A cycle has ended. What belongs to a step that failed, or was not reached, stays unfinished.
  void end_cycle(const Cycle_Record& record);

  /// A purge has ended, which has undone the upgrades, or everything, or has failed.
  void end_purge(Purge_Scope scope, bool has_succeeded);

 private:
  std::set<Path> repository_;
  std::vector<Path> leftovers_;
  bool upgrades_are_wanted_;
  std::shared_ptr<std::set<Cycle_Step>> ended_steps_ = std::make_shared<std::set<Cycle_Step>>();
  std::shared_ptr<Unfinished_Work> work_;
  Host_Services services_;
};

}  // namespace zant::velmora_host
