#include <zant/velmora_host/families/apt/disk_room.hpp>

#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <fmt/format.h>

#include <optional>
#include <set>
#include <sstream>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

constexpr auto MEGABYTE = std::uint64_t{1024} * 1024;
constexpr std::uint64_t LEAST_INODES = 20;
constexpr std::uint64_t INODES_OF_LOG = 2;
constexpr int NOT_ALLOWED = 3;
constexpr const char* USUAL_PARTIAL = "/var/cache/apt/archives/partial";

// As the host's first process sees them: what this one sees may be a view of its own.
constexpr const char* MOUNTS = "/proc/1/mounts";

struct Room {
  std::string directory;
  std::uint64_t bytes;
  std::uint64_t inodes = LEAST_INODES;
};

struct Free {
  std::uint64_t inodes_in_all = 0;
  std::uint64_t inodes = 0;
  std::uint64_t bytes = 0;
  std::string mount;
};

std::optional<Free> parse_df(const std::string& words) {
  const auto lines = lines_of(words);
  if (lines.size() != 2) {
    return std::nullopt;
  }
  std::istringstream line(lines[1]);
  std::string inodes_in_all;
  std::string inodes;
  Free free;
  if (!(line >> inodes_in_all >> inodes >> free.bytes >> free.mount)) {
    return std::nullopt;
  }
  // "-" on file systems that make inodes as they need them.
  std::istringstream(inodes_in_all) >> free.inodes_in_all;
  std::istringstream(inodes) >> free.inodes;
  return free;
}

bool is_read_only(const std::string& mounts, const std::string& mount) {
  bool is = false;
  for (const auto& line : lines_of(mounts)) {
    std::istringstream fields(line);
    std::string device;
    std::string place;
    std::string kind;
    std::string options;
    if (fields >> device >> place >> kind >> options && place == mount) {
      is = options == "ro" || options.starts_with("ro,");  // the last one that is mounted there counts
    }
  }
  return is;
}

Causes judge(const Room& room, const Free& free, const std::string& mounts, const std::string& evidence) {
  if (is_read_only(mounts, free.mount)) {
    return {blocks("disk.read_only", fmt::format("{} is mounted read-only", free.mount),
                   fmt::format("{}: {} is mounted with the option ro", MOUNTS, free.mount),
                   fmt::format("mount -o remount,rw {}", quoted(free.mount)))};
  }
  if (free.bytes < room.bytes) {
    return {blocks("disk.full",
                   fmt::format("{} has {} kB of room; the next version needs {} kB there", room.directory,
                               free.bytes / 1024, room.bytes / 1024),
                   evidence, fmt::format("Make room on the file system of {}", free.mount))};
  }
  if (free.inodes_in_all > 0 && free.inodes < room.inodes) {
    return {blocks("disk.full",
                   fmt::format("the file system of {} has no room for more files", room.directory), evidence,
                   fmt::format("Remove files from the file system of {}", free.mount))};
  }
  return {};
}

// Not every release of APT makes another directory than the usual one.
Causes find_missing_archives(const Outlook_Question& question, const std::string& archives) {
  const std::string partial = (boost::filesystem::path(archives) / "partial").string();
  const std::string query = fmt::format("test -d {}", quoted(partial));
  if (partial == USUAL_PARTIAL || ask(question, query).exit_code != 1) {
    return {};
  }
  return {obscures("archives.missing",
                   fmt::format("packages are downloaded to {}, which is not there", partial), query,
                   fmt::format("mkdir -p {0} && chown _apt {0}", quoted(partial)))};
}

Causes find_low_rooms(const Outlook_Question& question, const Needed_Room& needed,
                      const boost::filesystem::path& log) {
  const std::vector<Room> rooms = {{"/usr", needed.installed + MEGABYTE},
                                   {needed.archives, needed.download + MEGABYTE / 4},
                                   {"/var/lib/dpkg", MEGABYTE},
                                   {"/var/lib/apt/lists", MEGABYTE / 4},
                                   {"/var/log", MEGABYTE / 16},
                                   {log.string(), MEGABYTE / 128, INODES_OF_LOG},
                                   {"/tmp", MEGABYTE / 16}};
  const auto mounts = question.services.filesystem->read_file(MOUNTS, velmora::Read_Flag::WHOLE_TEXT);
  std::set<std::string> told_mounts;
  Causes causes;
  for (const auto& room : rooms) {
    const std::string command =
        fmt::format("df --block-size=1 --output=itotal,iavail,avail,target {}", quoted(room.directory));
    const auto answer = ask(question, command);
    const auto free = answer.succeeded() ? parse_df(answer.words) : std::nullopt;
    if (free && !told_mounts.contains(free->mount)) {
      auto found = judge(room, *free, mounts, told(command, answer.words));
      if (!found.empty()) {
        told_mounts.insert(free->mount);
      }
      append(causes, std::move(found));
    }
  }
  return causes;
}

}  // namespace

Causes find_full_disks(const Outlook_Question& question, const Needed_Room& needed,
                       const boost::filesystem::path& log) {
  Causes causes = find_low_rooms(question, needed, log);
  append(causes, find_missing_archives(question, needed.archives));
  return causes;
}

Causes find_closed_temporary_directory(const Outlook_Question& question, const std::string& user) {
  const std::string query = fmt::format(
      "setpriv --reuid={} --regid=nogroup --clear-groups sh -c 'test -w /tmp && test -x /tmp || exit {}'",
      quoted(user), NOT_ALLOWED);
  if (ask(question, query).exit_code != NOT_ALLOWED) {
    return {};
  }
  return {blocks("apt.temporary_directory_closed",
                 fmt::format("APT's own user, {}, may not write into /tmp, and can check no signature", user),
                 told("ls -ld /tmp", ask(question, "ls -ld /tmp").words), "chmod 1777 /tmp")};
}

}  // namespace zant::velmora_host::apt_outlook
