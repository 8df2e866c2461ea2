#include <zant/velmora_host/families/apt/daily_job.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <fmt/format.h>

namespace zant::velmora_host::apt_outlook {
namespace {

constexpr const char* LOCK_PROGRAM_QUERY = "sh -c 'command -v flock'";

std::string state_directory_of(const APT_Settings& settings) {
  return directory_named(settings.value("Dir::State").value_or("var/lib/apt")).string();
}

Causes find_missing_state(const Outlook_Question& question, const std::string& directory) {
  const std::string query = fmt::format("test -d {}", quoted(directory));
  if (ask(question, query).exit_code != 1) {
    return {};
  }
  return {
      blocks("apt.state_missing",
             fmt::format("the directory of APT's state, {}, is not there, and its daily jobs cannot begin",
                         directory),
             query, fmt::format("mkdir -p {0}/lists/partial {0}/periodic", quoted(directory)))};
}

Causes find_missing_lock_program(const Outlook_Question& question) {
  const auto answer = ask(question, LOCK_PROGRAM_QUERY);
  // Shells differ in how they say that they do not find a program.
  if (answer.exit_code != 1 && answer.exit_code != 127) {
    return {};
  }
  return {blocks("service.program_missing",
                 "flock, which APT's daily jobs take their lock with, is missing or cannot be executed",
                 told(LOCK_PROGRAM_QUERY, answer.words),
                 "apt-get install --reinstall --assume-yes util-linux")};
}

}  // namespace

Causes find_daily_job_faults(const Outlook_Question& question, const APT_Settings& settings) {
  Causes causes = find_missing_state(question, state_directory_of(settings));
  append(causes, find_missing_lock_program(question));
  return causes;
}

}  // namespace zant::velmora_host::apt_outlook
