#include <zant/velmora_host/verdict/outlook_stamp.hpp>

#include <Poco/SHA2Engine.h>

#include <cstddef>

namespace zant::velmora_host {
namespace {

// A tree that is deeper or larger is none of a package manager's, and is not walked through in every cycle.
constexpr int DEEPEST = 4;
constexpr std::size_t MOST_STAMPED = 20000;

using Path = boost::filesystem::path;

class Stamp {
 public:
  explicit Stamp(Host_Filesystem& filesystem) : filesystem_(filesystem) {}

  void add(const Path& path, int depth) {
    if (depth > DEEPEST || ++entries_ > MOST_STAMPED) {
      return;
    }
    // Files that come and go again, as those that databases work with, change the time of their directory.
    const bool is_directory = filesystem_.type_of(path) == File_Type::DIRECTORY;
    engine_.update(path.string() + '\0' + (is_directory ? "" : filesystem_.stamp_of(path)) + '\0');
    for (const auto& entry : is_directory ? filesystem_.list_entries(path) : std::vector<Path>{}) {
      add(entry, depth + 1);
    }
  }

  std::string text() { return Poco::DigestEngine::digestToHex(engine_.digest()); }

 private:
  Host_Filesystem& filesystem_;
  Poco::SHA2Engine engine_;
  std::size_t entries_ = 0;
};

}  // namespace

std::string outlook_stamp(const std::vector<boost::filesystem::path>& inputs, Host_Filesystem& filesystem) {
  Stamp stamp(filesystem);
  for (const auto& input : inputs) {
    stamp.add(input, 0);
  }
  return stamp.text();
}

}  // namespace zant::velmora_host
