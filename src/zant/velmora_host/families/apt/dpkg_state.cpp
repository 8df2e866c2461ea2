#include <zant/velmora_host/families/apt/dpkg_state.hpp>

#include <zant/velmora_host/families/apt/apt_settings.hpp>
#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using velmora::Package_Constants::PACKAGE_NAME;

constexpr const char* JOURNAL = "/var/lib/dpkg/updates";

std::string query() {
  return fmt::format(
      "dpkg-query --show --showformat='${{Version}}|${{Architecture}}|${{db:Status-Status}}' {}",
      PACKAGE_NAME);
}

constexpr int FATAL = 2;

// Where dpkg names the file or the entry that it stumbles over, that can be put out of force.
std::string remedy_for_fault(const std::string& words) {
  static const std::regex FILE("configuration error: (/etc/dpkg/dpkg\\.cfg\\.d/[\\w-]+):");
  static const std::regex OWNER("unknown system (user|group) '([\\w-]+)' in statoverride file");
  std::smatch match;
  const std::string told_words = searchable(words);
  if (std::regex_search(told_words, match, FILE)) {
    return fmt::format("mv {0} {0}.disabled", match[1].str());
  }
  if (std::regex_search(told_words, match, OWNER)) {
    return fmt::format("sed -i '/^{}{} /d' /var/lib/dpkg/statoverride", match[1] == "user" ? "" : "[^ ]* ",
                       match[2].str());
  }
  return "Put right what dpkg complains of";
}

// Line by line, without the hyphens that the options have elsewhere.
std::optional<Place> find_simulation_option(Host_Filesystem& filesystem) {
  static const std::set<std::string> OPTIONS = {"no-act", "dry-run", "simulate"};
  auto files = filesystem.list_files("/etc/dpkg/dpkg.cfg.d", "");
  std::sort(files.begin(), files.end());
  files.insert(files.begin(), "/etc/dpkg/dpkg.cfg");
  for (const auto& file : files) {
    const auto lines = lines_of(filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT));
    const auto found = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
      return OPTIONS.contains(boost::algorithm::trim_copy(line));
    });
    if (found != lines.end()) {
      return Place{file, static_cast<std::size_t>(found - lines.begin()) + 1, *found};
    }
  }
  return std::nullopt;
}

bool is_number(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

Installed_Package find_installed_package(const Outlook_Question& question) {
  const std::string command = query();
  const auto answer = ask(question, command);
  std::vector<std::string> fields;
  boost::algorithm::split(fields, answer.words, [](char c) { return c == '|'; });
  const bool is_unknown =
      answer.exit_code == 1 && answer.words.find("no packages found") != std::string::npos;
  const bool is_told = answer.succeeded() && fields.size() == 3;
  if (!is_unknown && !is_told) {
    return {"", "", {tool_failed(command, answer)}};
  }
  const std::string state = is_told ? boost::algorithm::trim_copy(fields[2]) : "not-installed";
  if (state == "not-installed" || state == "config-files") {
    return {"",
            "",
            {blocks("package.not_installed", fmt::format("{} is not installed", PACKAGE_NAME),
                    told(command, answer.words), "Install the package from the file that the vendor ships")}};
  }
  Installed_Package package = {fields[0], fields[1], {}};
  // Triggers that are still to run keep nothing from being upgraded.
  if (state != "installed" && !state.starts_with("triggers-")) {
    package.causes.push_back(blocks(
        "package.half_installed", fmt::format("{} is not wholly installed: it is {}", PACKAGE_NAME, state),
        told(command, answer.words),
        state == "half-installed" ? fmt::format("apt-get install --reinstall --assume-yes {}", PACKAGE_NAME)
                                  : "dpkg --configure -a"));
  }
  return package;
}

Causes find_dpkg_faults(const Outlook_Question& question) {
  const std::string directory = question.private_directory.string();
  const std::string command = fmt::format(
      "env TMPDIR={0} sh -c ': > \"$TMPDIR/empty.deb\" && exec dpkg --log=/dev/null --no-act --unpack "
      "\"$TMPDIR/empty.deb\"'",
      quoted(directory));
  const auto answer = ask(question, command);
  if (answer.exit_code != FATAL) {
    return {};
  }
  return {blocks("dpkg.fails", "dpkg cannot begin to install anything",
                 told("dpkg --no-act --unpack", answer.words), remedy_for_fault(answer.words))};
}

Causes find_simulating_dpkg(const Outlook_Question& question) {
  const std::string directory = (question.private_directory / "dpkg").string();
  const std::string script = fmt::format(
      "mkdir -p {0}/updates {0}/info && : > {0}/status && : > {0}/available && "
      "printf 'Package: question\\nVersion: 1\\nArchitecture: all\\nMaintainer: nobody\\nDescription: "
      "none\\n' > "
      "{0}/question && dpkg --admindir={0} --log=/dev/null --update-avail {0}/question && test ! -s "
      "{0}/available",
      quoted(directory));
  const auto answer = ask(question, fmt::format("sh -c {}", quoted(script)));
  if (!answer.succeeded()) {
    return {};
  }
  const auto place = find_simulation_option(*question.services.filesystem);
  return {blocks("dpkg.fails", "dpkg only tells what it would do, and installs nothing",
                 place ? place->evidence() : told("dpkg --update-avail", "nothing was written"),
                 place ? fmt::format("sed -i {}d {}", place->line, quoted(place->file.string()))
                       : "Take the option no-act out of dpkg's configuration")};
}

Causes find_interrupted_work(const Outlook_Question& question) {
  const auto files = question.services.filesystem->list_files(JOURNAL, "");
  const auto found = std::find_if(files.begin(), files.end(),
                                  [](const auto& file) { return is_number(file.filename().string()); });
  if (found == files.end()) {
    return {};
  }
  return {blocks("dpkg.interrupted",
                 "dpkg was interrupted, and APT upgrades nothing until its work is finished",
                 found->string() + " is there", "dpkg --configure -a")};
}

}  // namespace zant::velmora_host::apt_outlook
