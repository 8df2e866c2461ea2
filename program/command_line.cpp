#include <program/command_line.hpp>

#include <program/commands/command_table.hpp>
#include <program/exit_status.hpp>
#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/reports/failure_document.hpp>
#include <zant/velmora_host/settings/build_config.hpp>
#include <zant/velmora_host/settings/host_defaults.hpp>

#include <zant/logging/severity_level.hpp>

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>

#include <algorithm>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace zant::program {
namespace {

namespace host_defaults = velmora_host::host_defaults;

constexpr const char* DESCRIPTION =
    "Keeps the package zant-velmora upgradable on this host: registers its\n"
    "repository, releases holds, and sets up the host's automatic upgrades for it.";

constexpr const char* FOOTER =
    "Exit status: 0 done; 1 failed, or check found something; 2 plan found changes;\n"
    "64 wrong usage; 69 no supported package manager; 75 another package-minder is\n"
    "already running; 77 not run as the administrator; 78 settings or staging tree\n"
    "not usable.";

constexpr const char* JSON_FLAG = "--json";
constexpr int OPTION_COLUMN = 22;

// What CLI11 fills while it reads.
struct Options {
  std::optional<std::string> settings_file;
  std::vector<std::string> assignments;
  std::string log_level;
  Invocation invocation;
};

CLI::Validator key_and_value() {
  return CLI::Validator(
      [](const std::string& text) {
        const std::size_t separator = text.find('=');
        const bool is_assignment = separator != std::string::npos && separator > 0;
        return is_assignment ? "" : "\"" + text + "\" is not of the form KEY=VALUE";
      },
      "", "assignment");
}

CLI::Validator severity() {
  return CLI::Validator(
      [](const std::string& name) {
        const bool is_known = zant::logging::severity_level_from_string(name).has_value();
        return is_known ? "" : "\"" + name + "\" is not a severity; --help lists them";
      },
      "", "severity");
}

void add_options(CLI::App& app, Options& options) {
  app.set_version_flag("--version", std::string("package-minder ") + velmora_host::Build_Config::VERSION,
                       "Show the version");
  app.set_help_flag("-h,--help", "Show this text");
  app.add_option("--settings", options.settings_file,
                 "Settings file, instead of\n" + host_defaults::settings_file().string())
      ->type_name("FILE");
  app.add_option("--set", options.assignments, "Set one setting; wins over the file, repeatable")
      ->type_name("KEY=VALUE")
      ->expected(1)
      ->take_all()
      ->check(key_and_value());
  app.add_option("--log-level", options.log_level,
                 "Minimum severity to log: trace, debug, info, notice,\n"
                 "warning, error or fatal; short for\n"
                 "--set minder.log.level=LEVEL")
      ->type_name("LEVEL")
      ->check(severity());
}

void add_flags(CLI::App& app, const std::vector<Flag>& flags, Invocation& invocation) {
  std::map<Flag, CLI::Option*> added;
  for (const Flag flag : flags) {
    switch (flag) {
      case Flag::UPGRADES_ONLY:
        added[flag] =
            app.add_flag("--upgrades-only", invocation.upgrades_only, "Leave the repository registered");
        break;
      case Flag::ON_REMOVAL:
        added[flag] =
            app.add_flag("--on-removal", invocation.on_removal, "Only if minder.purge_on_removal is set");
        break;
      case Flag::PLAN:
        added[flag] = app.add_flag("--plan", invocation.plan_only, "Show what would be undone, undo nothing");
        break;
      case Flag::ONLINE:
        added[flag] = app.add_flag("--online", invocation.online, "Ask the repository too, up to 30 seconds");
        break;
      case Flag::MONITORING:
        added[flag] = app.add_flag("--monitoring", invocation.monitoring,
                                   "Print one line and exit as a monitoring plugin does");
        break;
      case Flag::JSON:
        added[flag] = app.add_flag(JSON_FLAG, invocation.json, "Print a JSON document");
        break;
    }
  }
  if (added.contains(Flag::ON_REMOVAL) && added.contains(Flag::UPGRADES_ONLY)) {
    added[Flag::ON_REMOVAL]->excludes(added[Flag::UPGRADES_ONLY]);
  }
  if (added.contains(Flag::MONITORING)) {
    added[Flag::MONITORING]->excludes(added[Flag::JSON]);
  }
  if (added.contains(Flag::JSON) && added.contains(Flag::PLAN)) {
    added[Flag::JSON]->needs(added[Flag::PLAN]);
  }
}

const char* group_name(Command::Group group) {
  return group == Command::Group::REPORTS ? "Reports, which change nothing" : "Commands";
}

using Added_Commands = std::map<const CLI::App*, const Command*>;

void add_command(CLI::App& app, const Command& command, Invocation& invocation, Added_Commands& added) {
  CLI::App* const subcommand =
      app.add_subcommand(command.name, command.description)->group(group_name(command.group));
  subcommand->set_help_flag("-h,--help", "Show this text");
  add_flags(*subcommand, command.flags, invocation);
  added[subcommand] = &command;
  if (!command.subcommands.empty()) {
    subcommand->require_subcommand(1);
    for (const auto& inner : command.subcommands) {
      add_command(*subcommand, inner, invocation, added);
    }
  }
}

// The innermost one.
const Command& chosen_command(const CLI::App& app, const Added_Commands& added) {
  const CLI::App* chosen = app.get_subcommands().front();
  while (!chosen->get_subcommands().empty()) {
    chosen = chosen->get_subcommands().front();
  }
  return *added.at(chosen);
}

std::pair<std::string, std::string> split_assignment(const std::string& text) {
  const std::size_t separator = text.find('=');
  return {text.substr(0, separator), text.substr(separator + 1)};
}

velmora_host::Settings_Sources settings_sources(const Options& options) {
  velmora_host::Settings_Sources sources;
  sources.file = options.settings_file ? *options.settings_file : host_defaults::settings_file();
  sources.file_is_required = options.settings_file.has_value();
  for (const auto& assignment : options.assignments) {
    sources.overrides.push_back(split_assignment(assignment));
  }
  if (!options.log_level.empty()) {
    sources.overrides.emplace_back("minder.log.level", options.log_level);
  }
  return sources;
}

// The first word that is neither an option nor an option's value; empty when there is none.
std::string first_word(const std::vector<std::string>& words) {
  static const std::vector<std::string> with_value = {"--settings", "--set", "--log-level"};
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (std::find(with_value.begin(), with_value.end(), *word) != with_value.end()) {
      if (++word == words.end()) {
        break;
      }
    } else if (!word->starts_with('-')) {
      return *word;
    }
  }
  return "";
}

std::string list_of_commands() {
  std::string names;
  for (const auto& command : command_table()) {
    names += (names.empty() ? "" : ", ") + command.name;
  }
  return names;
}

std::string describe(const CLI::ParseError& error, const std::vector<std::string>& words) {
  const std::string command = first_word(words);
  if (command.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    return "no command is given; the commands are " + list_of_commands();
  }
  if (!command.empty() && find_command(command) == nullptr) {
    return fmt::format("\"{}\" is no command; the commands are {}", command, list_of_commands());
  }
  return error.what();
}

// Who reads JSON reads it in this case too.
void print_usage_failure(const std::vector<std::string>& words, const std::string& message,
                         std::ostream& out) {
  if (std::find(words.begin(), words.end(), JSON_FLAG) == words.end()) {
    return;
  }
  const Command* const command = find_command(first_word(words));
  const bool is_of_report = command != nullptr && command->group == Command::Group::REPORTS;
  out << velmora_host::failure_document(is_of_report ? command->name : "plan",
                                        Exit_Status::code_of(Exit_Status::WRONG_USAGE),
                                        Exit_Status::WRONG_USAGE, {message});
}

}  // namespace

bool is_report(const Command_Line& line) {
  return line.command->group == Command::Group::REPORTS || line.invocation.plan_only;
}

Parsed_Command_Line parse_command_line(int argc, const char* const* argv, std::ostream& out,
                                       std::ostream& err) {
  Options options;
  CLI::App app(DESCRIPTION, "package-minder");
  app.footer(FOOTER);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.get_formatter()->column_width(OPTION_COLUMN);
  // `package-minder once --set ...` reads as well as `package-minder --set ... once`.
  app.fallthrough();
  add_options(app, options);
  app.require_subcommand(1);
  Added_Commands added;
  for (const auto& command : command_table()) {
    add_command(app, command, options.invocation, added);
  }

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    return {std::nullopt, app.exit(wish, out, err)};
  } catch (const CLI::ParseError& error) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const std::string message = describe(error, words);
    err << "package-minder: " << velmora_host::printable_lines(message, "\n")
        << "\nTry \"package-minder --help\".\n";
    print_usage_failure(words, message, out);
    return {std::nullopt, Exit_Status::WRONG_USAGE};
  }

  options.invocation.settings = settings_sources(options);
  return {Command_Line{&chosen_command(app, added), options.invocation}, Exit_Status::DONE};
}

}  // namespace zant::program
