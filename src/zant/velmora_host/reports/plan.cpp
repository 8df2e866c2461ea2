#include <zant/velmora_host/reports/plan.hpp>

#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/reports/planning_filesystem.hpp>
#include <zant/velmora_host/reports/planning_system.hpp>
#include <zant/velmora_host/reports/reports_of_families.hpp>
#include <zant/velmora_host/reports/unified_diff.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

#include <zant/velmora/package_minder/package_minder.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

void carry_out(Plan::Operation operation, const Package_Factory& factory, bool automatic_upgrades) {
  const auto config = factory.create_package_config(automatic_upgrades);
  switch (operation) {
    case Plan::Operation::CYCLE: {
      velmora::Package_Minder minder(factory.create_package(config));
      minder.update_package_lock_if_necessary();
      minder.initialize_unattended_upgrades_if_necessary();
      break;
    }
    case Plan::Operation::PURGE:
      config->purge_all_configurations();
      break;
    case Plan::Operation::PURGE_UPGRADES:
      config->purge_unattended_upgrade_configuration();
      break;
  }
}

// What the library would not notice until the host's own tools fail.
void require_no_obstacle(Plan::Operation operation, const Minded_Host& host) {
  if (operation != Plan::Operation::CYCLE) {
    return;
  }
  if (const auto obstacle = host.family.find_cycle_obstacle(host.services)) {
    throw std::runtime_error(to_string(*obstacle));
  }
}

std::vector<Displaced_Setting> find_displaced_settings(const Plan& plan, const Minded_Host& host) {
  std::vector<Displaced_Setting> displaced;
  if (plan.operation != Plan::Operation::CYCLE) {
    return displaced;
  }
  const auto replaced = host.family.replaced_files();
  for (const auto& change : plan.files) {
    if (change.before && change.after &&
        std::find(replaced.begin(), replaced.end(), change.path) != replaced.end()) {
      const auto more = host.family.find_displaced_settings(change.path, *change.before, *change.after,
                                                            *host.services.filesystem);
      displaced.insert(displaced.end(), more.begin(), more.end());
    }
  }
  return displaced;
}

Hold_State find_hold(const Minded_Host& host, const Planning_System& system) {
  const auto answer = system.answer_to(host.family.hold_query(host.settings));
  return answer ? host.family.hold_state_of(*answer, host.services) : Hold_State::UNKNOWN;
}

const char* operation_name(Plan::Operation operation) {
  switch (operation) {
    case Plan::Operation::PURGE:
      return "purge";
    case Plan::Operation::PURGE_UPGRADES:
      return "purge_upgrades";
    default:
      return "cycle";
  }
}

const char* change_name(const File_Change& change) {
  if (!change.before) {
    return "create";
  }
  return change.after ? "replace" : "remove";
}

std::string headline(const Plan& plan) {
  const bool is_cycle = plan.operation == Plan::Operation::CYCLE;
  if (plan.is_incomplete) {
    return is_cycle ? "What the next cycle would change could not be found out.\n"
                    : "What a purge would change could not be found out.\n";
  }
  switch (plan.outcome()) {
    case Plan::Outcome::FAILS:
      return is_cycle ? "The next cycle would fail.\n" : "A purge would fail.\n";
    case Plan::Outcome::CHANGES:
      return is_cycle ? "The next cycle would change this host.\n" : "A purge would change this host.\n";
    case Plan::Outcome::IN_STEP:
      break;
  }
  return is_cycle ? "This host is in step: the next cycle would change nothing.\n"
                  : "There is nothing to undo: a purge would change nothing.\n";
}

std::string list_commands(const Plan& plan, bool is_noop, const char* title) {
  std::string text;
  for (const auto& command : plan.commands) {
    if (command.is_noop == is_noop) {
      text += "  " + printable_lines(command.line, "\\n") + "\n";
    }
  }
  return text.empty() ? "" : fmt::format("\n{}\n{}", title, text);
}

}  // namespace

bool Plan::has_changes() const {
  return !files.empty() || removes_own_files ||
         std::any_of(commands.begin(), commands.end(), [](const auto& command) { return !command.is_noop; });
}

Plan::Outcome Plan::outcome() const {
  if (failure) {
    return Outcome::FAILS;
  }
  return has_changes() ? Outcome::CHANGES : Outcome::IN_STEP;
}

Plan make_plan(Plan::Operation operation, const Settings& settings, const Host_Services& services) {
  return make_plan(operation, settings, services, Family_Registry::built_in());
}

Plan make_plan(Plan::Operation operation, const Settings& settings, const Host_Services& services,
               const Family_Registry& registry) {
  return make_plan(operation, settings, Report_Services(services), registry);
}

Plan make_plan(Plan::Operation operation, const Settings& settings, const Report_Services& report,
               const Family_Registry& registry) {
  const Host_Services& services = report.services();
  const Minded_Host host = find_minded_host(settings, services, registry);
  const Staging_Layout layout = host.family.staging_layout();
  if (operation == Plan::Operation::CYCLE) {
    refuse_if_any(find_keyring_faults(settings.staging_directory(), layout));
  }
  const Temporary_Directory directory;
  const path staging_directory = directory.path() / "staging";
  make_staging_directory(settings.staging_directory(), layout, staging_directory, *services.filesystem);
  const auto filesystem = std::make_shared<Planning_Filesystem>(services.filesystem, directory.path());
  const auto system = std::make_shared<Planning_System>(services, host.family, filesystem);
  const auto factory = host.family.create_package_factory({system, filesystem}, settings, staging_directory);

  Plan plan;
  plan.operation = operation;
  try {
    require_no_obstacle(operation, host);
    carry_out(operation, *factory, settings.automatic_upgrades());
  } catch (const std::exception& error) {
    plan.failure = error.what();
  }
  plan.commands = system->planned();
  plan.files = filesystem->changes();
  plan.displaced_settings = find_displaced_settings(plan, host);
  plan.hold = find_hold(host, *system);
  plan.removes_own_files =
      operation == Plan::Operation::PURGE && services.filesystem->exists(settings.state_directory());
  if (const auto cut = report.first_cut()) {
    plan.is_incomplete = true;
    plan.failure = fmt::format("the host's tools did not answer in time: \"{}\" did not end", *cut);
  }
  return plan;
}

std::string to_json_text(const Plan& plan) {
  auto document = json_document::make("plan");
  document["operation"] = operation_name(plan.operation);
  document["has_changes"] = plan.has_changes();
  document["failure"] = plan.failure ? json_document::Json(*plan.failure) : json_document::Json();
  document["commands"] = json_document::Json::array();
  for (const auto& command : plan.commands) {
    document["commands"].push_back({{"line", command.line}, {"changes_host", !command.is_noop}});
  }
  document["files"] = json_document::Json::array();
  for (const auto& file : plan.files) {
    document["files"].push_back(
        {{"path", file.path.string()}, {"change", change_name(file)}, {"diff", unified_diff(file)}});
  }
  document["displaced_settings"] = json_document::Json::array();
  for (const auto& displaced : plan.displaced_settings) {
    document["displaced_settings"].push_back(
        {{"path", displaced.file.string()}, {"setting", displaced.setting}, {"message", displaced.message}});
  }
  document["removes_own_files"] = plan.removes_own_files;
  return json_document::text_of(document);
}

std::string to_text(const Plan& plan) {
  std::string text = headline(plan);
  text += list_commands(plan, false, "Commands that change the host, in this order:");
  text += list_commands(plan, true, "Commands run every cycle, with no effect now:");
  if (!plan.displaced_settings.empty()) {
    text += "\nSettings of this host that its own files lose while they are replaced:\n";
  }
  for (const auto& displaced : plan.displaced_settings) {
    text += fmt::format("  {}: {}\n", displaced.file.string(), printable(displaced.message));
  }
  if (plan.removes_own_files) {
    text += "\nThe program's own files in its state directory are removed.\n";
  }
  for (const auto& file : plan.files) {
    text += "\n" + printable_report(unified_diff(file));
  }
  if (plan.failure) {
    text += fmt::format("\n{}: {}\n", plan.is_incomplete ? "Unknown after that" : "It would fail after that",
                        printable_lines(*plan.failure, "\n    "));
  }
  return text;
}

}  // namespace zant::velmora_host
