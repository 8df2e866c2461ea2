#include <zant/velmora_host/reports/plan.hpp>

#include <zant/velmora_host/minding/minding.hpp>
#include <zant/velmora_host/reports/unified_diff.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/staging/staging_tree.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

void carry_out(Plan::Operation operation, const Minding& minding) {
  switch (operation) {
    case Plan::Operation::CYCLE: {
      velmora::Package_Minder minder(minding.create_package());
      minder.update_package_lock_if_necessary();
      minder.initialize_unattended_upgrades_if_necessary();
      break;
    }
    case Plan::Operation::PURGE:
      minding.config().purge_all_configurations();
      break;
    case Plan::Operation::PURGE_UPGRADES:
      minding.config().purge_unattended_upgrade_configuration();
      break;
  }
}

std::optional<bool> find_hold(const Planning_System& system) {
  if (const auto exit_code = system.exit_code_of(velmora::APT_Constants::HOLD_QUERY)) {
    return *exit_code == 0;
  }
  // Not found also means that the repository cannot be reached.
  if (system.exit_code_of(velmora::DNF_Constants::LOCK_QUERY) == 0) {
    return false;
  }
  return std::nullopt;
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
  const std::string subject = plan.operation == Plan::Operation::CYCLE ? "The next cycle" : "A purge";
  if (plan.has_changes()) {
    return subject + " would change this host.\n";
  }
  return plan.operation == Plan::Operation::CYCLE
             ? "This host is in step: the next cycle would change nothing.\n"
             : "There is nothing to undo: a purge would change nothing.\n";
}

std::string list_commands(const Plan& plan, bool is_noop, const char* title) {
  std::string text;
  for (const auto& command : plan.commands) {
    if (command.is_noop == is_noop) {
      text += "  " + command.line + "\n";
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
  const Temporary_Directory directory;
  const path staging_directory = directory.path() / "staging";
  copy_staging_tree(settings.staging_directory(), staging_directory);

  const auto system = std::make_shared<Planning_System>(services.system);
  const auto filesystem = std::make_shared<Planning_Filesystem>(services.filesystem, directory.path());
  const Minding minding({system, filesystem}, settings, staging_directory);

  Plan plan;
  plan.operation = operation;
  try {
    carry_out(operation, minding);
  } catch (const std::exception& error) {
    plan.failure = error.what();
  }
  plan.commands = system->planned();
  plan.files = filesystem->changes();
  plan.is_held = find_hold(*system);
  plan.removes_own_files =
      operation == Plan::Operation::PURGE && services.filesystem->exists(settings.state_directory());
  return plan;
}

json_document::Json to_json(const Plan& plan) {
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
  document["removes_own_files"] = plan.removes_own_files;
  return document;
}

std::string to_text(const Plan& plan) {
  std::string text = headline(plan);
  text += list_commands(plan, false, "Commands that change the host, in this order:");
  text += list_commands(plan, true, "Commands run every cycle, with no effect now:");
  if (plan.removes_own_files) {
    text += "\nThe program's own files in its state directory are removed.\n";
  }
  for (const auto& file : plan.files) {
    text += "\n" + unified_diff(file);
  }
  if (plan.failure) {
    text += fmt::format("\nIt would fail after that: {}\n", *plan.failure);
  }
  return text;
}

}  // namespace zant::velmora_host
