#include <zant/velmora_host/minding/undo.hpp>

#include <zant/velmora_host/minding/acting_services.hpp>
#include <zant/velmora_host/observation/cycle_observation.hpp>
#include <zant/velmora_host/observation/cycle_store.hpp>
#include <zant/velmora_host/observation/observed_system.hpp>
#include <zant/velmora_host/settings/settings_in_force.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <fmt/format.h>

#include <exception>
#include <memory>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using Problems = std::vector<std::string>;

// The library carries on past what it cannot undo.
class Failure_Collector : public Command_Observer {
 public:
  void note_begin(const std::string& /*line*/, Command_Kind /*kind*/) override {}
  void note_end(const Ended_Command& /*command*/, Command_Kind /*kind*/, double /*seconds*/) override {}
  void note_failure(const Cycle_Failure& failure) override { failures_.push_back(failure.message); }
  void note_key_import(const Key_Import& /*import*/) override {}

  Problems take() { return std::exchange(failures_, {}); }

 private:
  Problems failures_;
};

void have_undone(Purge_Scope scope, velmora::Package_Config& config) {
  if (scope == Purge_Scope::EVERYTHING) {
    config.purge_all_configurations();
  } else {
    config.purge_unattended_upgrade_configuration();
  }
}

// Through the library; what it cannot carry on past ends it.
Problems have_undone(Purge_Scope scope, const Minded_Host& host, const Host_Services& acting,
                     const path& staging_directory) {
  const auto collector = std::make_shared<Failure_Collector>();
  const Host_Services observed = {
      std::make_shared<Observed_System>(acting, host.family, Occasion::PURGE, collector), acting.filesystem};
  try {
    const auto factory = host.family.create_package_factory(observed, host.settings, staging_directory);
    have_undone(scope, *factory->create_package_config(host.settings.automatic_upgrades()));
    return collector->take();
  } catch (const std::exception& error) {
    Problems problems = collector->take();
    problems.emplace_back(error.what());
    return problems;
  }
}

void add_what_stays(const std::vector<path>& paths, velmora::Filesystem& filesystem, Problems& problems) {
  for (const auto& one : paths) {
    std::string problem = fmt::format("Could not remove {}", one.string());
    if (filesystem.exists(one) && (problems.empty() || problems.back() != problem)) {
      problems.push_back(std::move(problem));
    }
  }
}

void add_what_stays(Purge_Scope scope, const Minded_Host& host, Problems& problems) {
  const Installed_Paths installed = host.family.installed_paths();
  if (scope == Purge_Scope::EVERYTHING) {
    add_what_stays(installed.repository, *host.services.filesystem, problems);
  }
  add_what_stays(installed.upgrades, *host.services.filesystem, problems);
}

void forget_the_host(const Minded_Host& host, Problems& problems) {
  const path directory = host.settings.state_directory();
  velmora::Filesystem& filesystem = *host.services.filesystem;
  remove_observations(host.settings, filesystem);
  settings_in_force::remove(filesystem, directory);
  add_what_stays({verdict_store::file_in(directory), cycle_store::file_in(directory),
                  settings_in_force::file_in(directory), directory / Unfinished_Work::FILE},
                 filesystem, problems);
}

}  // namespace

Problems undo(Purge_Scope scope, const Minded_Host& host, const path& staging_directory) {
  Acting_Services acting(host.services, host.family, host.settings);
  Problems problems = have_undone(scope, host, acting.services(), staging_directory);
  add_what_stays(scope, host, problems);
  add_what_stays(acting.leftovers(), *host.services.filesystem, problems);
  acting.end_purge(scope, problems.empty());
  if (problems.empty() && scope == Purge_Scope::EVERYTHING) {
    forget_the_host(host, problems);
  }
  return problems;
}

}  // namespace zant::velmora_host
