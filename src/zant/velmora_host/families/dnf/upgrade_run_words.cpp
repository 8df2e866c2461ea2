#include <zant/velmora_host/families/dnf/upgrade_run_words.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/dnf/repository_answer.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

namespace zant::velmora_host::dnf_outlook {
namespace {

using velmora::Package_Constants::PACKAGE_NAME;

constexpr const char* SERVICE = "dnf-automatic-install.service";
constexpr const char* JOURNAL_QUERY =
    "timeout --kill-after=1 4 journalctl --quiet --no-pager --output=cat --lines=300 "
    "--unit=dnf-automatic-install.service 2> /dev/null | tail --bytes=20000";
// systemd's own lines begin and end a run.
constexpr const char* BEGIN_OF_RUN = "Starting ";
constexpr const char* FAILED_RUN = "Failed with result";
constexpr std::size_t LONGEST_WORDS = 2000;

struct Run_Words {
  std::string last;
  std::string before;
};

Run_Words words_of_runs(velmora::System& system) {
  const std::string text = system.run_command(JOURNAL_QUERY, velmora::Run_Flag::WAIT_AND_CAPTURE).output;
  const std::string begin = fmt::format("\n{}{}", BEGIN_OF_RUN, SERVICE);
  const std::size_t last = text.rfind(begin);
  if (last == std::string::npos) {
    return {text, ""};
  }
  const std::size_t before = last == 0 ? std::string::npos : text.rfind(begin, last - 1);
  return {text.substr(last), text.substr(before == std::string::npos ? 0 : before,
                                         last - (before == std::string::npos ? 0 : before))};
}

// What stands at the end says why.
std::string end_of(const std::string& words) {
  const std::string text = boost::algorithm::trim_copy(words);
  return text.size() <= LONGEST_WORDS
             ? text
             : std::string(whole_end(std::string_view(text).substr(text.size() - LONGEST_WORDS)));
}

bool is_about_offered_package(const std::string& words, const Run_Preview& preview) {
  static const std::array<const char*, 3> failures = {"scriptlet", "Error unpacking", "cpio"};
  return preview.newer_is_offered &&
         words.find(fmt::format("{}-{}", PACKAGE_NAME, preview.offered)) != std::string::npos &&
         std::any_of(failures.begin(), failures.end(),
                     [&words](const char* failure) { return words.find(failure) != std::string::npos; });
}

}  // namespace

std::optional<Cause> find_cause_of_last_run(velmora::System& system, const Upgrade_Run& run,
                                            const Run_Preview& preview) {
  const Run_Words words = words_of_runs(system);
  const std::string evidence = fmt::format("journalctl --unit={}: {}", SERVICE, end_of(words.last));
  if (is_about_offered_package(words.last, preview)) {
    return Cause{Cause_Effect::BLOCKS, "package.script_failed",
                 fmt::format("{} {} cannot be installed: a step of its own failed in the last run",
                             PACKAGE_NAME, preview.offered),
                 evidence, "Ask the vendor for a package that installs, with the words above"};
  }
  const bool has_failed_before = words.before.find(FAILED_RUN) != std::string::npos;
  if (run.succeeded || (speaks_of_network(words.last) && !has_failed_before)) {
    return std::nullopt;
  }
  return Cause{
      Cause_Effect::OBSCURES, "run.failed",
      fmt::format("The last run of the host's upgrades failed ({}), and whether the next one will is unknown",
                  run.result),
      evidence, fmt::format("Correct what these words name, until systemctl start {} ends well", SERVICE)};
}

}  // namespace zant::velmora_host::dnf_outlook
