#include <standalone_host/command_line.hpp>

#include <standalone_host/build_config.hpp>
#include <standalone_host/exit_status.hpp>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>

#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace zant::velmora::standalone_host {
namespace {

constexpr const char* DESCRIPTION =
    "Keeps the package zant-velmora upgradable on this host: its repository registered, its holds released,\n"
    "and the host's automatic upgrades set up for it.";

constexpr const char* FOOTER =
    "Exit status: 0 done; 1 the work failed; 64 wrong usage; 69 no supported package manager;\n"
    "75 another package-minder is at work here; 77 not run as root; 78 settings or staging tree not usable.";

// What CLI11 fills while it reads.
struct Options {
  std::optional<std::string> settings_file;
  std::vector<std::string> assignments;
  std::string log_level;
  bool upgrades_only = false;
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
  app.set_version_flag("--version", std::string("package-minder ") + Build_Config::VERSION);
  app.add_option("--settings", options.settings_file,
                 std::string("Read this settings file instead of ") + Build_Config::SETTINGS_FILE)
      ->type_name("FILE");
  app.add_option("--set", options.assignments, "Set one setting; wins over the file, may be repeated")
      ->type_name("KEY=VALUE")
      ->expected(1)
      ->take_all()
      ->check(key_and_value());
  app.add_option("--log-level", options.log_level,
                 "Log what is at least that grave; short for --set minder.log.level=LEVEL")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"trace", "debug", "info", "notice", "warning", "error", "fatal"}));
}

std::map<const CLI::App*, Command> add_commands(CLI::App& app, Options& options) {
  const auto add = [&app](const char* name, const char* description) {
    return app.add_subcommand(name, description)->group("Commands");
  };
  std::map<const CLI::App*, Command> commands;
  commands[add("run", "Mind the package until told to stop (SIGTERM, SIGINT); what the service does")] =
      Command::RUN;
  commands[add("once", "Run one cycle and tell by the exit status how it went")] = Command::ONCE;
  commands[add("hold",
               "Hold the package against upgrades; a running service releases it in its next cycle")] =
      Command::HOLD;
  commands[add("release", "Release the package's hold")] = Command::RELEASE;
  CLI::App* purge = add("purge", "Undo what was set up on the host");
  purge->add_flag("--upgrades-only", options.upgrades_only,
                  "Undo the automatic upgrades and leave the repository registered");
  commands[purge] = Command::PURGE;
  app.require_subcommand(1);
  return commands;
}

std::pair<std::string, std::string> split_assignment(const std::string& text) {
  const std::size_t separator = text.find('=');
  return {text.substr(0, separator), text.substr(separator + 1)};
}

Settings_Sources settings_sources(const Options& options) {
  Settings_Sources sources;
  sources.file = options.settings_file.value_or(Build_Config::SETTINGS_FILE);
  sources.file_is_required = options.settings_file.has_value();
  for (const auto& assignment : options.assignments) {
    sources.overrides.push_back(split_assignment(assignment));
  }
  if (!options.log_level.empty()) {
    sources.overrides.emplace_back("minder.log.level", options.log_level);
  }
  return sources;
}

}  // namespace

Parsed_Command_Line parse_command_line(int argc, const char* const* argv, std::ostream& out,
                                       std::ostream& err) {
  Options options;
  CLI::App app(DESCRIPTION, "package-minder");
  app.footer(FOOTER);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  // `package-minder once --set ...` reads as well as `package-minder --set ... once`.
  app.fallthrough();
  add_options(app, options);
  const auto commands = add_commands(app, options);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& wish) {
    return {std::nullopt, app.exit(wish, out, err)};
  } catch (const CLI::ParseError& error) {
    err << "package-minder: " << error.what() << "\nTry \"package-minder --help\".\n";
    return {std::nullopt, Exit_Status::WRONG_USAGE};
  }

  const Command command = commands.at(app.get_subcommands().front());
  return {Command_Line{command, options.upgrades_only, settings_sources(options)}, Exit_Status::DONE};
}

}  // namespace zant::velmora::standalone_host
