#include <zant/velmora_host/families/held_locks.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>

namespace zant::velmora_host {
namespace {

constexpr const char* LOCKS = "/proc/locks";
constexpr long LONGEST_SECONDS = 2L * 3600;

struct Holder {
  std::string process;
  std::string command;
  long seconds = 0;
};

bool is_number(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

class Search {
 public:
  Search(const Outlook_Question& question, const Package_Locks& locks) : question_(question), locks_(locks) {}

  Causes run() const {
    for (const auto& file : locks_.number_files) {
      if (auto cause = judge_number_file_(file)) {
        return {*cause};
      }
    }
    const auto files = files_by_inode_();
    std::istringstream lines(files.empty() ? "" : read_(LOCKS));
    for (std::string line; std::getline(lines, line);) {
      if (auto cause = judge_line_(line, files)) {
        return {*cause};
      }
    }
    return {};
  }

 private:
  std::string read_(const std::string& file) const {
    return question_.services.filesystem->read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  }

  std::string ask_(const std::string& command) const {
    return question_.services.system
        ->run_command(fmt::format("LC_ALL=C timeout --kill-after=1 5 {} 2>&1", command),
                      velmora::Run_Flag::WAIT_AND_CAPTURE)
        .output;
  }

  std::map<std::string, std::string> files_by_inode_() const {
    std::map<std::string, std::string> files;
    std::istringstream lines(
        ask_(fmt::format("stat --format='%i %n' {}", boost::algorithm::join(locks_.files, " ") + " " +
                                                         boost::algorithm::join(locks_.flock_files, " "))));
    for (std::string line; std::getline(lines, line);) {
      std::istringstream fields(line);
      std::string inode;
      std::string file;
      if (fields >> inode >> file && file.starts_with("/")) {
        files[inode] = file;
      }
    }
    return files;
  }

  bool is_in_the_way_(const std::string& kind, const std::string& file) const {
    const auto& flock_files = locks_.flock_files;
    const bool is_of_flock = std::find(flock_files.begin(), flock_files.end(), file) != flock_files.end();
    return kind == (is_of_flock ? "FLOCK" : "POSIX");
  }

  // Numbers of inodes are only unique on their own file system.
  bool has_open_(const std::string& process, const std::string& file) const {
    std::istringstream lines(ask_(fmt::format("sh -c 'readlink /proc/{}/fd/*'", process)));
    for (std::string line; std::getline(lines, line);) {
      if (line == file) {
        return true;
      }
    }
    return false;
  }

  // "1: POSIX  ADVISORY  WRITE 1234 00:2f:5678 0 EOF"; one that waits has "->" after its number.
  std::optional<Cause> judge_line_(const std::string& line,
                                   const std::map<std::string, std::string>& files) const {
    std::istringstream fields(line);
    std::string number;
    std::string kind;
    std::string mode;
    std::string access;
    std::string process;
    std::string place;
    if (!(fields >> number >> kind >> mode >> access >> process >> place) || kind == "->" ||
        !is_number(process)) {
      return std::nullopt;
    }
    const auto file = files.find(place.substr(place.rfind(':') + 1));
    if (file == files.end() || !is_in_the_way_(kind, file->second) || !has_open_(process, file->second)) {
      return std::nullopt;
    }
    const auto holder = find_holder_(process);
    return holder ? judge_(*holder,
                           fmt::format("{}: {} is held by process {} ({}), which started {} minutes ago",
                                       LOCKS, file->second, process, holder->command, holder->seconds / 60),
                           fmt::format("kill {}", process))
                  : std::nullopt;
  }

  // A number may have been given to another process since a crash: the file is then all that is wrong.
  std::optional<Cause> judge_number_file_(const std::string& file) const {
    const std::string text = read_(file);
    const std::string process = boost::algorithm::trim_copy(text);
    if (text.empty()) {
      return std::nullopt;
    }
    if (!is_number(process)) {
      return Cause{Cause_Effect::BLOCKS, "lock.held", fmt::format("{} is no lock file of a process", file),
                   fmt::format("{}: {}", file, process.substr(0, 100)), fmt::format("rm {}", file)};
    }
    const auto holder = find_holder_(process);
    if (!holder) {
      return std::nullopt;
    }
    return judge_(*holder,
                  fmt::format("{}: {}, and process {} ({}) started {} minutes ago", file, process, process,
                              holder->command, holder->seconds / 60),
                  is_one_of_(locks_.tools, holder->command) ? fmt::format("kill {}", process)
                                                            : fmt::format("rm {}", file));
  }

  std::optional<Holder> find_holder_(const std::string& process) const {
    std::istringstream fields(ask_(fmt::format("ps -o etimes=,comm= -p {}", process)));
    Holder holder{process, "", 0};
    return fields >> holder.seconds >> holder.command ? std::optional(holder) : std::nullopt;
  }

  // By the first letters of the names that the kernel keeps.
  static bool is_one_of_(const std::vector<std::string>& names, const std::string& command) {
    return std::any_of(names.begin(), names.end(), [&command](const std::string& name) {
      return boost::algorithm::starts_with(command, name);
    });
  }

  std::optional<Cause> judge_(const Holder& holder, const std::string& evidence,
                              const std::string& remedy) const {
    const bool is_old = holder.seconds > LONGEST_SECONDS;
    const bool is_tool = is_one_of_(locks_.tools, holder.command);
    if (!is_old && (is_tool || is_one_of_(locks_.services, holder.command))) {
      return std::nullopt;
    }
    // Another that has run for long may have taken the lock a moment ago.
    return Cause{is_old && is_tool ? Cause_Effect::BLOCKS : Cause_Effect::OBSCURES, "lock.held",
                 fmt::format("the process {} holds a lock that upgrades need", holder.process), evidence,
                 remedy};
  }

  const Outlook_Question& question_;
  const Package_Locks& locks_;
};

}  // namespace

Causes find_held_locks(const Outlook_Question& question, const Package_Locks& locks) {
  return Search(question, locks).run();
}

}  // namespace zant::velmora_host
