// Stands in for Chocolatey's choco.exe, with as much of its behaviour as this project relies on: the
// commands, their exit codes and the lines that they print. Keeps sources.txt ("NAME - URL", or
// "NAME [Disabled] - URL"), packages.txt ("NAME VERSION") and pins.txt ("NAME"), and takes what the sources
// offer from offers.txt ("NAME VERSION").

#include "stand_in.hpp"

#include <algorithm>

using namespace stand_in;

namespace {

constexpr int DONE = 0;
constexpr int FAILED = 1;

class Choco {
 public:
  Choco(const std::filesystem::path& directory, const Lines& arguments)
      : sources_(directory / "sources.txt"),
        packages_(directory / "packages.txt"),
        pins_(directory / "pins.txt"),
        offers_(directory / "offers.txt"),
        arguments_(arguments) {}

  int run() {
    std::cout << "Chocolatey v2.2.2\r\n";
    if (is({"source", "list"})) {
      return list_sources();
    }
    if (is({"source", "add", "-n", "*", "-s", "*"})) {
      return add_source(arguments_[3], arguments_[5]);
    }
    if (is({"source", "remove", "-n", "*"})) {
      return remove_source(arguments_[3]);
    }
    if (is({"source", "enable", "-n", "*"})) {
      return enable_source(arguments_[3]);
    }
    if (is({"list", "-e", "*"})) {
      return list_package(arguments_[2]);
    }
    if (is({"outdated", "--limit-output", "--execution-timeout=20"})) {
      return list_outdated();
    }
    if (is({"upgrade", "*", "-y", "--ignore-http-cache"})) {
      return upgrade(arguments_[1]);
    }
    if (is({"install", "*", "-y", "--version", "*", "--skip-powershell", "--ignore-http-cache"})) {
      return install(arguments_[1], arguments_[4]);
    }
    if (is({"pin", "list"})) {
      return list_pins();
    }
    if (is({"pin", "add", "-n", "*"})) {
      return add_pin(arguments_[3]);
    }
    if (is({"pin", "remove", "-n", "*"})) {
      return remove_pin(arguments_[3]);
    }
    if (is({"cache", "remove"})) {
      std::cout << "Removed 0 items from the cache.\r\n";
      return DONE;
    }
    std::cerr << "Could not find a command that matches these arguments.\r\n";
    return FAILED;
  }

 private:
  bool is(const Lines& pattern) const {
    return std::equal(
        pattern.begin(), pattern.end(), arguments_.begin(), arguments_.end(),
        [](const auto& expected, const auto& given) { return expected == "*" || expected == given; });
  }

  static bool begins_with_word(const std::string& line, const std::string& word) {
    return line == word || line.starts_with(word + " ");
  }

  static Lines without(Lines lines, const std::string& name) {
    std::erase_if(lines, [&name](const auto& line) { return begins_with_word(line, name); });
    return lines;
  }

  std::string version_of(const std::string& name) const { return version_in(packages_, name); }

  static std::string version_in(const State_File& file, const std::string& name) {
    for (const auto& package : file.read()) {
      if (begins_with_word(package, name)) {
        return package.substr(name.size() + 1);
      }
    }
    return "";
  }

  int list_sources() const {
    for (const auto& source : sources_.read()) {
      std::cout << source
                << " | Priority 0|Bypass Proxy - False|Self-Service - False|Admin Only - False.\r\n";
    }
    return DONE;
  }

  int add_source(const std::string& name, const std::string& location) const {
    Lines sources = without(sources_.read(), name);
    sources.push_back(name + " - " + location);
    sources_.write(sources);
    std::cout << "Added " << name << " - " << location << " (Priority 0)\r\n";
    return DONE;
  }

  int remove_source(const std::string& name) const {
    sources_.write(without(sources_.read(), name));
    std::cout << "Removed " << name << "\r\n";
    return DONE;
  }

  int enable_source(const std::string& name) const {
    Lines sources = sources_.read();
    for (auto& source : sources) {
      const std::string disabled = name + " [Disabled]";
      if (source.starts_with(disabled)) {
        source.replace(0, disabled.size(), name);
      }
    }
    sources_.write(sources);
    std::cout << "Enabled " << name << "\r\n";
    return DONE;
  }

  bool is_pinned(const std::string& name) const {
    const Lines pins = pins_.read();
    return std::find(pins.begin(), pins.end(), name) != pins.end();
  }

  // "NAME|INSTALLED|OFFERED|PINNED" of each package that is older than what is offered.
  int list_outdated() const {
    for (const auto& package : packages_.read()) {
      const std::string name = package.substr(0, package.find(' '));
      const std::string offered = version_in(offers_, name);
      if (!offered.empty() && offered != version_of(name)) {
        std::cout << name << "|" << version_of(name) << "|" << offered << "|"
                  << (is_pinned(name) ? "true" : "false") << "\r\n";
      }
    }
    return DONE;
  }

  int upgrade(const std::string& name) const {
    const std::string offered = version_in(offers_, name);
    if (!offered.empty() && !is_pinned(name)) {
      Lines packages = without(packages_.read(), name);
      packages.push_back(name + " " + offered);
      packages_.write(packages);
    }
    std::cout << "Chocolatey upgraded 1/1 packages.\r\n";
    return DONE;
  }

  int list_package(const std::string& name) const {
    const std::string version = version_of(name);
    if (!version.empty()) {
      std::cout << name << " " << version << "\r\n";
    }
    std::cout << (version.empty() ? "0" : "1") << " packages installed.\r\n";
    return DONE;
  }

  int install(const std::string& name, const std::string& version) const {
    packages_.append(name + " " + version);
    std::cout << "Chocolatey installed 1/1 packages.\r\n";
    return DONE;
  }

  int list_pins() const {
    for (const auto& name : pins_.read()) {
      std::cout << name << "|" << version_of(name) << "\r\n";
    }
    return DONE;
  }

  int add_pin(const std::string& name) const {
    if (version_of(name).empty()) {
      std::cout << "Unable to find package named '" << name
                << "' to pin. Please check to ensure it is installed.\r\n";
      return FAILED;
    }
    pins_.append(name);
    std::cout << "Successfully added a pin for " << name << " v" << version_of(name) << ".\r\n";
    return DONE;
  }

  int remove_pin(const std::string& name) const {
    pins_.write(without(pins_.read(), name));
    std::cout << "Successfully removed a pin for " << name << " v" << version_of(name) << ".\r\n";
    return DONE;
  }

  State_File sources_;
  State_File packages_;
  State_File pins_;
  State_File offers_;
  Lines arguments_;
};

}  // namespace

int main(int argc, char** argv) {
  const auto directory = own_directory();
  const Lines arguments(argv + 1, argv + argc);
  if (note_call(directory, arguments)) {
    std::cerr << "Unable to do that now.\r\n";
    return FAILED;
  }
  return Choco(directory, arguments).run();
}
