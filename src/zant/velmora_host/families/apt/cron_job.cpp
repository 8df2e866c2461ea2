#include <zant/velmora_host/families/apt/outlook_tools.hpp>
#include <zant/velmora_host/families/apt/upgrade_units.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using std::chrono::system_clock;

constexpr const char* TABLE = "/etc/crontab";
constexpr const char* JOB = "/etc/cron.daily/apt-compat";
constexpr const char* DAEMON_QUERY = "pgrep --exact 'cron|crond|anacron'";
constexpr const char* JOBS_QUERY = "run-parts --test /etc/cron.daily";
constexpr const char* RUNNING_QUERY = "pgrep --full /usr/lib/apt/apt.systemd.daily";

bool is_number(const std::string& text, int largest) {
  return !text.empty() && text.size() <= 2 && text.find_first_not_of("0123456789") == std::string::npos &&
         std::stoi(text) <= largest;
}

// "25 6 * * * root test -x /usr/sbin/anacron || { cd / && run-parts --report /etc/cron.daily; }"
std::optional<std::string> daily_time(const std::string& table) {
  for (const auto& line : lines_of(table)) {
    std::vector<std::string> fields;
    const std::string entry = boost::algorithm::trim_copy(line);
    boost::algorithm::split(fields, entry, boost::algorithm::is_space(), boost::algorithm::token_compress_on);
    if (entry.find("/cron.daily") != std::string::npos && entry.front() != '#' && fields.size() > 5 &&
        is_number(fields[0], 59) && is_number(fields[1], 23)) {
      return fmt::format("{}:{:0>2}", fields[1], fields[0]);
    }
  }
  return std::nullopt;
}

std::optional<system_clock::time_point> next_time(const Outlook_Question& question) {
  const auto time =
      daily_time(question.services.filesystem->read_file(TABLE, velmora::Read_Flag::WHOLE_TEXT));
  if (!time) {
    return std::nullopt;
  }
  for (const char* const day : {"today", "tomorrow"}) {
    const auto answer = ask(question, fmt::format("date --date='{} {}' +%s", day, *time));
    const auto next = answer.succeeded() ? parse_epoch(answer.words) : std::nullopt;
    if (next && *next > question.now) {
      return next;
    }
  }
  return std::nullopt;
}

}  // namespace

Upgrade_Units find_cron_job(const Outlook_Question& question) {
  Upgrade_Units found;
  const auto daemon = ask(question, DAEMON_QUERY);
  if (daemon.exit_code == 1) {
    found.causes.push_back(blocks("cron.not_running",
                                  "cron is not running, and nothing else starts upgrades here",
                                  told(DAEMON_QUERY, daemon.words), "service cron start"));
  }
  const auto jobs = ask(question, JOBS_QUERY);
  if (jobs.words.find(JOB) == std::string::npos) {
    found.causes.push_back(
        blocks("cron.job_missing", fmt::format("cron does not run {}, which refreshes and upgrades", JOB),
               told(JOBS_QUERY, jobs.words),
               fmt::format("test -e {0} && chmod 0755 {0} || "
                           "apt-get install --reinstall -o DPkg::Options::=--force-confmiss --assume-yes apt",
                           JOB)));
  }
  found.next_run = next_time(question);
  found.next_refresh = found.next_run;
  found.is_running = ask(question, RUNNING_QUERY).succeeded();
  return found;
}

}  // namespace zant::velmora_host::apt_outlook
