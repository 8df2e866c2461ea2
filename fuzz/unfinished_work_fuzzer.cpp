// The journal of unfinished work, which an older version or a damaged disk may have left: whatever it holds
// counts as touched until work has ended well, what new work touches is in it before that is touched, and
// then nothing of it stays.

#include <fuzz/fuzzer.hpp>

#include <zant/velmora_host/minding/unfinished_work.hpp>

#include <support/host_side/fake_host_filesystem.hpp>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace zant::velmora_host;

namespace {

using Path = boost::filesystem::path;
using Paths = std::vector<Path>;

const Path STATE = "/state";

// Between what the journal holds and what new work touches.
constexpr const char* SEPARATOR = "\n%%\n";

Paths paths_in(const std::string& text) {
  std::istringstream lines(text);
  Paths paths;
  for (std::string line; std::getline(lines, line);) {
    paths.emplace_back(line);
  }
  return paths;
}

class Work_On_Disk {
 public:
  explicit Work_On_Disk(const std::string& journal) {
    disk_->fake().add_directory(STATE);
    if (!journal.empty()) {
      disk_->fake().add_file(STATE / Unfinished_Work::FILE, journal);
    }
  }

  Unfinished_Work next() const { return {disk_, STATE}; }
  bool has_journal() const { return disk_->fake().has(STATE / Unfinished_Work::FILE); }

  // As the next process would find it, whatever becomes of this one.
  void require_kept(const Paths& paths) const {
    const auto work = next();
    require(std::all_of(paths.begin(), paths.end(),
                        [&work](const Path& path) { return work.was_touched(path); }));
  }

 private:
  std::shared_ptr<test_support::Fake_Host_Filesystem> disk_ =
      std::make_shared<test_support::Fake_Host_Filesystem>();
};

}  // namespace

void try_input(const std::string& input) {
  const std::size_t end = std::min(input.find(SEPARATOR), input.size());
  Paths paths = paths_in(input.substr(0, end));
  const Work_On_Disk disk(input.substr(0, end));
  disk.require_kept(paths);

  auto work = disk.next();
  for (const auto& path : paths_in(input.substr(end))) {
    work.note(path);
    require(!work.was_touched(path));
    paths.push_back(path);
    disk.require_kept(paths);
  }
  work.end([](const Path& /*path*/) { return false; });
  disk.require_kept(paths);
  work.end([](const Path& /*path*/) { return true; });
  require(!disk.has_journal());
}
