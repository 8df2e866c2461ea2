#include <program/command_line.hpp>

#include <program/exit_status.hpp>
#include <program/platform/host_commands.hpp>
#include <zant/velmora_host/base/json_document.hpp>
#include <zant/velmora_host/settings/build_config.hpp>
#include <zant/velmora_host/settings/host_defaults.hpp>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace zant::program {
namespace {

constexpr const char* DESCRIPTION =
    "Keeps the package zant-velmora upgradable on this host: registers its\n"
    "repository, releases holds, and sets up the host's automatic upgrades for it.";

constexpr const char* FOOTER =
    "Exit status: 0 done; 1 failed, or check found something; 2 plan found changes;\n"
    "64 wrong usage; 69 no supported package manager; 75 another package-minder is\n"
    "already running; 77 not run as the administrator; 78 settings or staging tree\n"
    "not usable.";

// Filled by CLI11 while it parses.
struct Options {
  std::optional<std::string> settings_file;
  std::vector<std::string> assignments;
  std::string log_level;
  bool upgrades_only = false;
  bool plan_only = false;
  bool json = false;
  bool on_removal = false;
  Host_Command host_command;
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

void add_options(CLI::App& app, Options& options) {
  app.set_version_flag("--version", std::string("package-minder ") + velmora_host::Build_Config::VERSION);
  app.add_option(
         "--settings", options.settings_file,
         "Read this settings file instead of " + velmora_host::host_defaults::settings_file().string())
      ->type_name("FILE");
  app.add_option("--set", options.assignments, "Set one setting; wins over the file, may be repeated")
      ->type_name("KEY=VALUE")
      ->expected(1)
      ->take_all()
      ->check(key_and_value());
  app.add_option("--log-level", options.log_level,
                 "Minimum severity to log; short for --set minder.log.level=LEVEL")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"trace", "debug", "info", "notice", "warning", "error", "fatal"}));
}

constexpr const char* JSON_FLAG = "--json";

CLI::Option* add_json_flag(CLI::App& command, Options& options) {
  return command.add_flag(JSON_FLAG, options.json, "Print JSON");
}

void add_reports(CLI::App& app, Options& options, std::map<const CLI::App*, Command>& commands) {
  const auto add = [&](const char* name, const char* description, Command command) {
    CLI::App* const report = app.add_subcommand(name, description)->group("Reports, which change nothing");
    add_json_flag(*report, options);
    commands[report] = command;
  };
  add("status", "Show the state of this host", Command::STATUS);
  add("plan", "Show what the next cycle would change; exit status 2 if anything", Command::PLAN);
  add("check", "List what will keep cycles from working; exit status 1 if anything", Command::CHECK);
}

std::map<const CLI::App*, Command> add_commands(CLI::App& app, Options& options) {
  const auto add = [&app](const char* name, const char* description) {
    return app.add_subcommand(name, description)->group("Commands");
  };
  std::map<const CLI::App*, Command> commands;
  commands[add("run", "Run cycles until told to stop; the service runs this")] = Command::RUN;
  commands[add("once", "Run one cycle; the exit status is its result")] = Command::ONCE;
  commands[add("hold",
               "Hold the package against upgrades; a running service releases it in its next cycle")] =
      Command::HOLD;
  commands[add("release", "Release the package's hold")] = Command::RELEASE;
  CLI::App* purge = add("purge", "Undo all changes on the host");
  purge->add_flag("--upgrades-only", options.upgrades_only,
                  "Undo the automatic upgrades and leave the repository registered");
  purge
      ->add_flag("--on-removal", options.on_removal,
                 "Only if minder.purge_on_removal is set; the program's removal runs this")
      ->excludes("--upgrades-only");
  commands[purge] = Command::PURGE;
  if (offers_reports()) {
    CLI::Option* plan_only =
        purge->add_flag("--plan", options.plan_only, "Show what would be undone, without undoing it");
    add_json_flag(*purge, options)->needs(plan_only);
    add_reports(app, options, commands);
  }
  for (const CLI::App* command : add_host_commands(app, options.host_command)) {
    commands[command] = Command::OF_THIS_HOST;
  }
  app.require_subcommand(1);
  return commands;
}

std::pair<std::string, std::string> split_assignment(const std::string& text) {
  const std::size_t separator = text.find('=');
  return {text.substr(0, separator), text.substr(separator + 1)};
}

velmora_host::Settings_Sources settings_sources(const Options& options) {
  velmora_host::Settings_Sources sources;
  sources.file =
      options.settings_file ? *options.settings_file : velmora_host::host_defaults::settings_file();
  sources.file_is_required = options.settings_file.has_value();
  for (const auto& assignment : options.assignments) {
    sources.overrides.push_back(split_assignment(assignment));
  }
  if (!options.log_level.empty()) {
    sources.overrides.emplace_back("minder.log.level", options.log_level);
  }
  return sources;
}

// With --json a usage error is printed as JSON, too.
void print_usage_failure(int argc, const char* const* argv, const std::string& message, std::ostream& out) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (std::find(words.begin(), words.end(), JSON_FLAG) == words.end()) {
    return;
  }
  const std::vector<std::string> reports = {"status", "plan", "check"};
  const auto report = std::find_first_of(words.begin(), words.end(), reports.begin(), reports.end());
  const std::string kind = report == words.end() ? "plan" : *report;
  out << velmora_host::json_document::text_of(velmora_host::json_document::make_failure(
      kind, Exit_Status::code_of(Exit_Status::WRONG_USAGE), Exit_Status::WRONG_USAGE, {message}));
}

}  // namespace

Parsed_Command_Line parse_command_line(int argc, const char* const* argv, std::ostream& out,
                                       std::ostream& err) {
  Options options;
  CLI::App app(DESCRIPTION, "package-minder");
  app.footer(FOOTER);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  // `package-minder once --set ...` is the same as `package-minder --set ... once`.
  app.fallthrough();
  add_options(app, options);
  const auto commands = add_commands(app, options);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    return {std::nullopt, app.exit(wish, out, err)};
  } catch (const CLI::ParseError& error) {
    err << "package-minder: " << error.what() << "\nTry \"package-minder --help\".\n";
    print_usage_failure(argc, argv, error.what(), out);
    return {std::nullopt, Exit_Status::WRONG_USAGE};
  }

  const Command command = commands.at(app.get_subcommands().front());
  return {Command_Line{command, options.upgrades_only, settings_sources(options), options.plan_only,
                       options.json, options.on_removal, options.host_command},
          Exit_Status::DONE};
}

}  // namespace zant::program
