#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/minding/interrupted_writes.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>
#include <zant/velmora_host/observation/cycle_observation.hpp>
#include <zant/velmora_host/observation/observed_system.hpp>
#include <zant/velmora_host/settings/settings_in_force.hpp>
#include <zant/velmora_host/staging/work_area.hpp>

#include <fmt/format.h>

#include <utility>

namespace zant::velmora_host {
namespace {

// The library carries on past what it cannot undo.
class Failure_Collector : public Command_Observer {
 public:
  void note_begin(Command_Kind /*kind*/) override {}
  void note_end(const Ended_Command& /*command*/, Command_Kind /*kind*/, double /*seconds*/) override {}
  void note_failure(const Cycle_Failure& failure) override { failures_.push_back(failure.message); }
  void note_key_import(const Key_Import& /*import*/) override {}

  std::vector<std::string> take() { return std::exchange(failures_, {}); }

 private:
  std::vector<std::string> failures_;
};

void add_what_stays(const std::vector<boost::filesystem::path>& paths, velmora::Filesystem& filesystem,
                    std::vector<std::string>& problems) {
  for (const auto& path : paths) {
    if (filesystem.exists(path)) {
      problems.push_back(fmt::format("Could not remove {}", path.string()));
    }
  }
}

void undo(Purge_Scope scope, velmora::Package_Config& config) {
  if (scope == Purge_Scope::EVERYTHING) {
    config.purge_all_configurations();
  } else {
    config.purge_unattended_upgrade_configuration();
  }
}

std::vector<std::string> find_what_stays(Purge_Scope scope, const Minded_Host& host) {
  std::vector<std::string> problems;
  const Installed_Paths installed = host.family.installed_paths();
  if (scope == Purge_Scope::EVERYTHING) {
    add_what_stays(installed.repository, *host.services.filesystem, problems);
  }
  add_what_stays(installed.upgrades, *host.services.filesystem, problems);
  return problems;
}

}  // namespace

std::vector<std::string> purge(Purge_Scope scope, const Settings& settings, const Host_Services& services) {
  const Minded_Host host = find_minded_host(settings, services);
  Work_Area work_area(settings, host.family.staging_layout(), services.filesystem);
  const auto collector = std::make_shared<Failure_Collector>();
  const Host_Services observed = {
      std::make_shared<Observed_System>(services, host.family, Occasion::PURGE, collector),
      services.filesystem};
  const auto factory = host.family.create_package_factory(observed, settings, work_area.staging_directory());
  const auto config = factory->create_package_config(settings.automatic_upgrades());
  remove_interrupted_writes(host.family, *services.filesystem);
  undo(scope, *config);

  std::vector<std::string> problems = collector->take();
  for (auto& problem : find_what_stays(scope, host)) {
    problems.push_back(std::move(problem));
  }
  if (problems.empty() && scope == Purge_Scope::EVERYTHING) {
    remove_observations(settings, *services.filesystem);
    settings_in_force::remove(*services.filesystem, settings.state_directory());
    work_area.remove();
  }
  return problems;
}

}  // namespace zant::velmora_host
