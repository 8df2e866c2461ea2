#include <zant/velmora_host/families/apt/last_run.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using boost::algorithm::contains;
using boost::filesystem::path;
using velmora::Package_Constants::PACKAGE_NAME;

// The lines since the last one that has the mark.
std::vector<std::string> last_part(const Outlook_Question& question, const path& log, const char* mark) {
  const auto answer = ask(question, fmt::format("tail --bytes=65536 {}", quoted(log.string())));
  if (!answer.succeeded()) {
    return {};
  }
  const auto lines = lines_of(answer.words);
  const auto begin = std::find_if(lines.rbegin(), lines.rend(),
                                  [mark](const std::string& line) { return contains(line, mark); });
  return begin == lines.rend() ? std::vector<std::string>{}
                               : std::vector(std::prev(begin.base()), lines.end());
}

std::string joined(const path& log, const std::vector<std::string>& lines) {
  return told(log.string(), boost::algorithm::join(lines, "\n"));
}

bool names_version(const std::vector<std::string>& lines, const std::string& version) {
  return std::any_of(lines.begin(), lines.end(), [&version](const std::string& line) {
    return contains(line, fmt::format("{} ({})", PACKAGE_NAME, version)) ||
           contains(line, fmt::format("{}_{}_", PACKAGE_NAME, version));
  });
}

std::vector<std::string> errors_of(const std::vector<std::string>& lines) {
  std::vector<std::string> errors;
  bool is_told = false;
  for (const auto& line : lines) {
    // dpkg tells the reason in a line of its own.
    is_told = contains(line, "error") || contains(line, "dpkg: ") || contains(line, "subprocess") ||
              (is_told && line.starts_with(' '));
    if (is_told) {
      errors.push_back(line);
    }
  }
  return errors;
}

Causes find_failed_package(const Outlook_Question& question, const path& log, const std::string& offered) {
  const auto lines = last_part(question, log, "Log started:");
  const auto errors = errors_of(lines);
  const bool is_ours = std::any_of(errors.begin(), errors.end(), [](const std::string& line) {
    return contains(line, "error processing") && contains(line, PACKAGE_NAME);
  });
  if (!is_ours || !names_version(lines, offered)) {
    return {};
  }
  const bool is_script = std::any_of(errors.begin(), errors.end(), [](const std::string& line) {
    return contains(line, "script subprocess");
  });
  if (is_script) {
    return {
        blocks("package.script_failed",
               fmt::format("a script of {} {} itself failed when it was last installed, and will again until "
                           "its reason is gone",
                           PACKAGE_NAME, offered),
               joined(log, errors),
               "Put right what the script complains of, or ask the vendor for a version that installs")};
  }
  return {blocks("package.install_failed",
                 fmt::format("dpkg could not install {} {} in the last run", PACKAGE_NAME, offered),
                 joined(log, errors), "Put right what dpkg complains of")};
}

Causes find_prompt(const Outlook_Question& question, const path& log) {
  const auto lines = last_part(question, log, "Starting unattended upgrades script");
  const auto found = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
    return contains(line, fmt::format("Package {} has conffile prompt", PACKAGE_NAME));
  });
  if (found == lines.end()) {
    return {};
  }
  return {
      blocks("package.conffile_prompt",
             fmt::format("the next version of {} changes a file of configuration that was changed here too, "
                         "and nobody is there to answer the question",
                         PACKAGE_NAME),
             told(log.string(), *found),
             fmt::format("apt-get install --assume-yes -o DPkg::Options::=--force-confdef "
                         "-o DPkg::Options::=--force-confold {}",
                         PACKAGE_NAME))};
}

// It tried, and something else than the package failed: a hook, or dpkg as a whole.
Causes find_errors(const Outlook_Question& question, const path& log) {
  const auto lines = last_part(question, log, "Starting unattended upgrades script");
  const auto tried = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
    return contains(line, "Packages that will be upgraded:") && contains(line, PACKAGE_NAME);
  });
  std::vector<std::string> errors;
  std::copy_if(tried, lines.end(), std::back_inserter(errors),
               [](const std::string& line) { return contains(line, " ERROR "); });
  if (errors.empty()) {
    return {};
  }
  return {obscures(
      "upgrades.failed",
      fmt::format("unattended-upgrade tried to upgrade {} in its last run, and failed", PACKAGE_NAME),
      joined(log, errors), "Put right what unattended-upgrade complains of")};
}

}  // namespace

Causes find_failed_upgrade(const Outlook_Question& question, const Upgrade_Log& log,
                           const std::string& offered, bool is_downloaded) {
  Causes causes = is_downloaded ? Causes{} : find_prompt(question, log.file);
  append(causes, find_failed_package(question, log.dpkg_file, offered));
  return causes.empty() ? find_errors(question, log.file) : causes;
}

}  // namespace zant::velmora_host::apt_outlook
