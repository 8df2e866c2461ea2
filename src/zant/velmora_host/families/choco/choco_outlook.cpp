#include <zant/velmora_host/families/choco/choco_outlook.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/choco/base_directory_check.hpp>
#include <zant/velmora_host/families/configured_causes.hpp>

#include <zant/velmora/choco/choco_constants.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <sstream>
#include <string>
#include <utility>

namespace zant::velmora_host::choco_outlook {
namespace {

using velmora::Command_Result;
using velmora::Package_Constants::PACKAGE_NAME;
namespace Choco_Constants = velmora::Choco_Constants;

// Asks the sources. Seconds; nothing else limits a command on Windows that soon.
constexpr const char* OUTDATED_ARGUMENTS = "outdated --limit-output --execution-timeout=20";
constexpr std::size_t LONGEST_WORDS = 2000;
// As the task scheduler counts columns, whatever the language: host, task, next run, status, mode, last run.
constexpr std::size_t LAST_RESULT = 6;

std::string quoted_program(const Settings& settings, const std::string& arguments) {
  return fmt::format(fmt::runtime(Choco_Constants::CHOCO_COMMAND_FORMAT), choco_program(settings).string(),
                     arguments);
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(boost::algorithm::trim_copy(line));
  }
  return lines;
}

std::string told(const std::string& command, const Command_Result& answer) {
  return fmt::format("{}: {}", command, whole_beginning(answer.output, LONGEST_WORDS));
}

Cause tool_failed(const std::string& command, const Command_Result& answer) {
  return {Cause_Effect::OBSCURES, "tools.failed",
          fmt::format("A command failed that tells about upgrades, with exit code {}", answer.exit_code),
          told(command, answer), command};
}

// The line of a listing that is about the package or its source, which have one name.
std::string line_about_package(const std::string& listing) {
  for (const auto& line : lines_of(listing)) {
    const bool has_name = boost::algorithm::starts_with(line, PACKAGE_NAME);
    if (has_name && (line.size() == std::string(PACKAGE_NAME).size() ||
                     std::string(" |").find(line[std::string(PACKAGE_NAME).size()]) != std::string::npos)) {
      return line;
    }
  }
  return "";
}

class Look {
 public:
  explicit Look(const Outlook_Question& question) : question_(question) {}

  Upgrade_Outlook run() {
    look_at_package_();
    look_at_pin_();
    look_at_source_();
    look_at_task_();
    look_at_offer_();
    // A cycle adds the source, releases the pin and creates the task anew.
    mark_configured(outlook_.causes, {"repository.switched_off"});
    return std::move(outlook_);
  }

 private:
  Command_Result ask_(const std::string& command) {
    return question_.services.system->run_command(command, velmora::Run_Flag::WAIT_AND_CAPTURE);
  }

  void add_(Cause_Effect effect, const char* code, std::string message, std::string evidence,
            std::string remedy) {
    outlook_.causes.push_back({effect, code, std::move(message), std::move(evidence), std::move(remedy)});
  }

  void look_at_package_() {
    const std::string command = quoted_program(question_.settings, Choco_Constants::LIST_INSTALLED_ARGUMENTS);
    const Command_Result answer = ask_(command);
    if (answer.exit_code != 0) {
      outlook_.causes.push_back(tool_failed(command, answer));
      return;
    }
    std::istringstream words(line_about_package(answer.output));
    std::string name;
    words >> name >> outlook_.installed;
    if (outlook_.installed.empty()) {
      add_(Cause_Effect::BLOCKS, "package.not_installed",
           fmt::format("{} is not installed, as far as Chocolatey knows", PACKAGE_NAME),
           told(command, answer), "package-minder once");
    }
  }

  void look_at_pin_() {
    const std::string command = quoted_program(question_.settings, Choco_Constants::PIN_LIST_ARGUMENTS);
    const Command_Result answer = ask_(command);
    if (answer.exit_code != 0) {
      outlook_.causes.push_back(tool_failed(command, answer));
    } else if (const std::string pin = line_about_package(answer.output); !pin.empty()) {
      add_(Cause_Effect::BLOCKS, "hold.held", fmt::format("{} is pinned", PACKAGE_NAME),
           fmt::format("{}: {}", command, pin), "package-minder release");
    }
  }

  void look_at_source_() {
    const std::string command = quoted_program(question_.settings, Choco_Constants::SOURCE_LIST_ARGUMENTS);
    const Command_Result answer = ask_(command);
    if (answer.exit_code != 0) {
      outlook_.causes.push_back(tool_failed(command, answer));
      return;
    }
    const std::string source = line_about_package(answer.output);
    if (source.empty()) {
      add_(Cause_Effect::BLOCKS, "repository.not_registered",
           fmt::format("Chocolatey has no source {}", Choco_Constants::REPO_NAME), told(command, answer),
           "package-minder once");
    } else if (source.find("[Disabled]") != std::string::npos) {
      add_(
          Cause_Effect::BLOCKS, "repository.switched_off", "The source is switched off",
          fmt::format("{}: {}", command, source),
          quoted_program(question_.settings, fmt::format("source enable -n {}", Choco_Constants::REPO_NAME)));
    }
  }

  void look_at_task_() {
    // The words of its tables are translated; those of its XML are not.
    const std::string command = Choco_Constants::QUERY_TASK + " /XML";
    const Command_Result answer = ask_(command);
    if (answer.exit_code != 0) {
      add_(Cause_Effect::BLOCKS, "timer.missing",
           "The scheduled task is missing: nothing starts the upgrades", told(command, answer),
           "package-minder once");
      return;
    }
    const std::size_t settings = answer.output.find("<Settings>");
    if (settings == std::string::npos) {
      outlook_.causes.push_back(tool_failed(command, answer));
      return;
    }
    if (answer.output.find("<Enabled>false</Enabled>", settings) != std::string::npos) {
      add_(Cause_Effect::BLOCKS, "timer.disabled",
           "The scheduled task is disabled: nothing starts the upgrades",
           fmt::format("{}: <Enabled>false</Enabled>", command),
           fmt::format("schtasks.exe /CHANGE /TN \"{}\" /ENABLE", Choco_Constants::SCHTASKS_TASK_NAME));
    }
    look_at_last_result_();
  }

  void look_at_last_result_() {
    // Success, running, not yet run, and two kinds of success that want a restart of the host.
    static const std::array<const char*, 5> good = {"0", "267009", "267011", "1641", "3010"};
    const std::string command = Choco_Constants::QUERY_TASK + " /V /FO CSV /NH";
    const Command_Result answer = ask_(command);
    std::vector<std::string> columns;
    const std::string row = boost::algorithm::trim_copy(answer.output.substr(0, answer.output.find('\n')));
    boost::algorithm::split(columns, row, boost::algorithm::is_any_of("\""));
    // Between the quotation marks stand the columns and, in turn, the commas.
    const std::size_t place = 2 * LAST_RESULT + 1;
    if (answer.exit_code != 0 || columns.size() <= place) {
      outlook_.causes.push_back(tool_failed(command, answer));
      return;
    }
    const std::string& result = columns[place];
    if (std::find(good.begin(), good.end(), result) == good.end()) {
      add_(Cause_Effect::OBSCURES, "run.failed",
           fmt::format(
               "The last run of the scheduled task failed ({}), and whether the next one will is unknown",
               printable(result)),
           told(command, answer), quoted_program(question_.settings, Choco_Constants::UPGRADE_ARGUMENTS));
    }
  }

  void look_at_offer_() {
    if (!question_.online) {
      add_(Cause_Effect::OBSCURES, "repository.not_asked",
           "Chocolatey keeps nothing of its sources: what is offered is known only when they are asked",
           quoted_program(question_.settings, OUTDATED_ARGUMENTS), "package-minder why --online");
      return;
    }
    const std::string command = quoted_program(question_.settings, OUTDATED_ARGUMENTS);
    const Command_Result answer = ask_(command);
    // 2 says, where that is switched on, that something is outdated.
    if (answer.exit_code != 0 && answer.exit_code != 2) {
      add_(Cause_Effect::OBSCURES, "server.unreachable", "Chocolatey's sources cannot be asked",
           told(command, answer), "Let this host's network and firewalls reach the repository's server");
      return;
    }
    outlook_.refreshed = question_.now;
    outlook_.offered = outlook_.installed;
    std::vector<std::string> columns;
    const std::string row = line_about_package(answer.output);
    boost::algorithm::split(columns, row, boost::algorithm::is_any_of("|"));
    if (columns.size() >= 3) {
      outlook_.offered = columns[2];
      outlook_.newer_is_offered = columns[2] != columns[1];
    }
  }

  const Outlook_Question& question_;
  Upgrade_Outlook outlook_;
};

}  // namespace

Upgrade_Outlook find(const Outlook_Question& question) {
  return Look(question).run();
}

// Where Chocolatey is depends on the settings: nothing is watched, and the verdict is found at its interval.
std::vector<boost::filesystem::path> inputs() {
  return {};
}

}  // namespace zant::velmora_host::choco_outlook
