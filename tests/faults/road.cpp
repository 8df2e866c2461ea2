#include <faults/road.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/families/family_registry.hpp>
#include <zant/velmora_host/minding/prepared_cycles.hpp>
#include <zant/velmora_host/minding/undo.hpp>

#include <exception>
#include <utility>

namespace zant::velmora_host::faults {
namespace {

using Changed_Settings = std::vector<std::pair<std::string, std::string>>;

std::shared_ptr<const Settings> settings_with(const Changed_Settings& changed) {
  Settings_Sources sources;
  sources.file = "/nowhere";
  sources.overrides.emplace_back("minder.state_directory", STATE_DIRECTORY);
  sources.overrides.insert(sources.overrides.end(), changed.begin(), changed.end());
  return std::make_shared<const Settings>(sources);
}

bool is_managed(const std::string& path) {
  return path.starts_with("/etc/apt/") || path.starts_with("/etc/yum.repos.d/quorvane") ||
         path.starts_with("/etc/systemd/system/");
}

}  // namespace

Road::Road(std::shared_ptr<Simulated_Host> host, std::string family)
    : host_(std::move(host)), family_(std::move(family)) {
  const std::string timer = "package." + family_ + ".upgrade_timer.";
  const Changed_Settings schedule = {{timer + "on_calendar", "03:00"}, {timer + "randomized_delay", "60"}};
  scheduled_ = settings_with(schedule);
  unscheduled_ = settings_with({});
  without_upgrades_ = settings_with({{"minder.automatic_upgrades", "false"}});
  elsewhere_ = settings_with({schedule.front(),
                              {"package.apt.repo.url", "https://elsewhere.example/"},
                              {"package.dnf.repo.url", "https://elsewhere.example/"}});
  keep_staging_tree_();
  fresh_ = host_->state();
  add_cycles_();
}

Outcome Road::work(Work work, const Settings& settings) const {
  make_staging_directory_anew_();
  try {
    const Host_Services services = host_->services();
    return work_on_(work, {settings, services, require_family(services, Family_Registry::built_in()),
                           velmora::Init::systemd});
  } catch (const Process_Ended&) {
    return Outcome::ENDED;
  } catch (const Refusal&) {
    return Outcome::REFUSED;
  } catch (const std::exception&) {
    return Outcome::FAILED;
  }
}

Outcome Road::work_on_(Work work, const Minded_Host& host) const {
  switch (work) {
    case Work::CYCLE:
      return cycle_(host);
    case Work::PURGE:
    case Work::PURGE_OF_UPGRADES: {
      const auto scope = work == Work::PURGE ? Purge_Scope::EVERYTHING : Purge_Scope::UPGRADES;
      return undo(scope, host, STAGING_DIRECTORY).empty() ? Outcome::SUCCEEDED : Outcome::FAILED;
    }
    case Work::HOLD:
    case Work::RELEASE:
      break;
  }
  return hold_(host, work == Work::HOLD);
}

Outcome Road::cycle_(const Minded_Host& host) const {
  Prepared_Cycles cycles("once", host, STAGING_DIRECTORY);
  return cycles.run_cycle().last_cycle.succeeded() ? Outcome::SUCCEEDED : Outcome::FAILED;
}

Outcome Road::hold_(const Minded_Host& host, bool held) const {
  const auto factory = host.family.create_package_factory(host.services, host.settings, STAGING_DIRECTORY);
  const auto package =
      factory->create_package(factory->create_package_config(host.settings.automatic_upgrades()));
  return (held ? package->lock() : package->unlock()) ? Outcome::SUCCEEDED : Outcome::FAILED;
}

// As every process has it made.
void Road::make_staging_directory_anew_() const {
  auto& entries = host_->disk().entries();
  entries.erase(entries.lower_bound(STAGING_DIRECTORY), entries.lower_bound(STAGING_DIRECTORY + "0"));
  entries.insert(staging_tree_.begin(), staging_tree_.end());
}

void Road::keep_staging_tree_() {
  const auto put = [this](const std::string& name, const std::string& text) {
    host_->disk().put(STAGING_DIRECTORY + "/" + name, text);
  };
  const std::string templates = "config-files/" + family_ + "/templates/";
  put("keyrings/zant-velmora.gpg", "the keys");
  put(templates + "zant-on-calendar.conf.template", "[Timer]\nOnCalendar=\nOnCalendar={}\n");
  put(templates + "zant-randomized-delay.conf.template", "[Timer]\nRandomizedDelaySec={}\n");
  if (family_ == "apt") {
    put("config-files/apt/20auto-upgrades", "APT::Periodic::Enable \"1\";\n");
    put(templates + "zant-velmora.list.template", "deb [arch={2}] {0} {1} main\n");
    put(templates + "50unattended-upgrades.template", "Unattended-Upgrade::Origins-Pattern {{{}}};\n");
    put(templates + "75lowerspeed.template", "Acquire::http::Dl-Limit \"{}\";\n");
  } else {
    put(templates + "quorvane.repo.template", "[{}]\nname={}\nbaseurl={}\ngpgkey={}\nthrottle={}\n");
  }
  const auto& entries = host_->disk().entries();
  staging_tree_ = {entries.lower_bound(STAGING_DIRECTORY), entries.lower_bound(STAGING_DIRECTORY + "0")};
}

void Road::add_cycles_() {
  const Host_State set_up = add_("set up", Work::CYCLE, scheduled_, fresh_).after;
  add_("set up while the server is away", Work::CYCLE, scheduled_, fresh_, false);
  add_("set up without a schedule", Work::CYCLE, unscheduled_, fresh_);
  add_("set up without upgrades", Work::CYCLE, without_upgrades_, fresh_);
  add_("nothing to do", Work::CYCLE, scheduled_, set_up);
  add_drift_(set_up);
  add_drift_of_tools_(set_up);
  add_holds_(set_up);
  add_changed_settings_(set_up);
  add_purges_(set_up);
}

void Road::add_drift_(const Host_State& set_up) {
  for (const auto& [path, entry] : set_up.disk) {
    if (!is_managed(path) || !entry || path.find("/.zant-backups/") != std::string::npos) {
      continue;
    }
    Host_State changed = set_up;
    changed.disk[path] = "somebody's\n";
    add_("repair of " + path, Work::CYCLE, scheduled_, changed);
    Host_State removed = set_up;
    removed.disk.erase(path);
    add_("repair without " + path, Work::CYCLE, scheduled_, removed);
  }
}

void Road::add_drift_of_tools_(const Host_State& set_up) {
  Host_State stopped = set_up;
  stopped.tools.timer_runs = false;
  add_("the timer stopped", Work::CYCLE, scheduled_, stopped);
  Host_State away = set_up;
  away.tools.has_upgrade_package = false;
  away.tools.timer_runs = false;
  add_("the upgrade package removed", Work::CYCLE, scheduled_, away);
}

void Road::add_holds_(const Host_State& set_up) {
  const Host_State held = add_("hold", Work::HOLD, scheduled_, set_up).after;
  add_("release", Work::RELEASE, scheduled_, held);
  add_("a hold is found", Work::CYCLE, scheduled_, held);
}

void Road::add_changed_settings_(const Host_State& set_up) {
  add_("the schedule given up", Work::CYCLE, unscheduled_, set_up);
  add_("another address, no delay", Work::CYCLE, elsewhere_, set_up);
  add_("upgrades given up", Work::CYCLE, without_upgrades_, set_up);
}

void Road::add_purges_(const Host_State& set_up) {
  const Host_State purged = add_("purge", Work::PURGE, scheduled_, set_up).after;
  add_("set up again", Work::CYCLE, scheduled_, purged);
  add_("purge of nothing", Work::PURGE, scheduled_, purged);
  const Host_State partly = add_("purge of the upgrades", Work::PURGE_OF_UPGRADES, scheduled_, set_up).after;
  add_("purge of the rest", Work::PURGE, scheduled_, partly);
}

const Stage& Road::add_(const std::string& name, Work work, const Settings_Pointer& settings,
                        const Host_State& before, bool server_answers) {
  Stage stage{family_ + ": " + name, work, settings, before, {}, fresh_, {}, server_answers};
  host_->restore(before);
  host_->set_server(server_answers);
  host_->plan().begin({});
  host_->plan().keep_calls(true);
  stage.outcome = this->work(work, *settings);
  host_->plan().keep_calls(false);
  stage.calls = host_->plan().calls();
  if (!server_answers) {
    host_->restore(before);
    host_->set_server(true);
    this->work(work, *settings);
  }
  stage.after = host_->state();
  stages_.push_back(std::move(stage));
  return stages_.back();
}

}  // namespace zant::velmora_host::faults
