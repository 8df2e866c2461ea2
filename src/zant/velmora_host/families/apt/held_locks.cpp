#include <zant/velmora_host/families/apt/held_locks.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <string>

namespace zant::velmora_host::apt_outlook {
namespace {

constexpr const char* LOCKS = "/proc/locks";
constexpr const char* FILES_QUERY =
    "stat --format='%i %n' /var/lib/dpkg/lock-frontend /var/lib/dpkg/lock /var/lib/apt/lists/lock "
    "/var/cache/apt/archives/lock /var/lib/apt/daily_lock /run/unattended-upgrades.lock 2> /dev/null";
constexpr long LONGEST_SECONDS = 2L * 3600;

struct Holder {
  std::string command;
  long seconds = 0;
};

std::map<std::string, std::string> files_by_inode(const std::string& words) {
  std::map<std::string, std::string> files;
  for (const auto& line : lines_of(words)) {
    std::istringstream fields(line);
    std::string inode;
    std::string file;
    if (fields >> inode >> file && file.starts_with("/")) {
      files[inode] = file;
    }
  }
  return files;
}

// APT and dpkg ask for locks of POSIX, which those of flock do not keep from them; the script of APT's daily
// work, which has a file of its own, asks for those of flock.
bool is_in_the_way(const std::string& kind, const std::string& file) {
  return kind == (file == "/var/lib/apt/daily_lock" ? "FLOCK" : "POSIX");
}

// Numbers of inodes are only unique on their own file system.
bool has_open(const Outlook_Question& question, const std::string& process, const std::string& file) {
  const auto lines = lines_of(ask(question, fmt::format("sh -c 'readlink /proc/{}/fd/*'", process)).words);
  return std::find(lines.begin(), lines.end(), file) != lines.end();
}

// By the first letters of the names that the kernel keeps.
template <std::size_t SIZE>
bool is_one_of(const std::array<const char*, SIZE>& names, const std::string& command) {
  return std::any_of(names.begin(), names.end(),
                     [&command](const char* name) { return boost::algorithm::starts_with(command, name); });
}

// These hold their locks as long as they run.
constexpr std::array<const char*, 5> TOOLS = {"apt", "dpkg", "unattended-upgr", "aptitude", "synaptic"};
constexpr std::array<const char*, 2> SERVICES = {"packagekitd", "package-minder"};

std::optional<Holder> find_holder(const Outlook_Question& question, const std::string& process) {
  const auto answer = ask(question, fmt::format("ps -o etimes=,comm= -p {}", process));
  std::istringstream fields(answer.words);
  Holder holder;
  return answer.succeeded() && fields >> holder.seconds >> holder.command ? std::optional(holder)
                                                                          : std::nullopt;
}

Causes judge(const std::string& file, const std::string& process, const Holder& holder) {
  const std::string evidence = fmt::format("{}: {} is held by process {} ({}), which started {} minutes ago",
                                           LOCKS, file, process, holder.command, holder.seconds / 60);
  const std::string message = fmt::format("the process {} holds a lock that upgrades need", process);
  const bool is_old = holder.seconds > LONGEST_SECONDS;
  const bool is_tool = is_one_of(TOOLS, holder.command);
  if (is_tool && is_old) {
    return {blocks("lock.held", message, evidence, fmt::format("kill {}", process))};
  }
  if (!is_old && (is_tool || is_one_of(SERVICES, holder.command))) {
    return {};
  }
  // One that has run for long may have taken the lock a moment ago.
  return {obscures("lock.held", message, evidence, fmt::format("kill {}", process))};
}

}  // namespace

Causes find_held_locks(const Outlook_Question& question) {
  const auto files = files_by_inode(ask(question, FILES_QUERY).words);
  const std::string locks = question.services.filesystem->read_file(LOCKS, velmora::Read_Flag::WHOLE_TEXT);
  for (const auto& line : lines_of(locks)) {
    // "1: POSIX  ADVISORY  WRITE 1234 00:2f:5678 0 EOF"; one that waits has "->" after its number.
    std::istringstream fields(line);
    std::string number;
    std::string kind;
    std::string mode;
    std::string access;
    std::string process;
    std::string place;
    if (!(fields >> number >> kind >> mode >> access >> process >> place) || kind == "->" ||
        process.find_first_not_of("0123456789") != std::string::npos) {
      continue;
    }
    const auto file = files.find(place.substr(place.rfind(':') + 1));
    if (file == files.end() || !is_in_the_way(kind, file->second) ||
        !has_open(question, process, file->second)) {
      continue;
    }
    const auto holder = find_holder(question, process);
    auto causes = holder ? judge(file->second, process, *holder) : Causes{};
    if (!causes.empty()) {
      return causes;
    }
  }
  return {};
}

}  // namespace zant::velmora_host::apt_outlook
