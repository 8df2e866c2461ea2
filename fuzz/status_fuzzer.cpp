// The whole status of a host of any family: what its tools answer, what its files hold and what records an
// earlier process has left. Whatever that is, it is told without harm to a terminal or to a program that
// reads it, or the host is refused in words.

#include <fuzz/fuzzer.hpp>
#include <fuzz/host_in_text.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/base/refusal.hpp>
#include <zant/velmora_host/reports/monitoring.hpp>
#include <zant/velmora_host/reports/status.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <support/host_side/staging_example.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>

using namespace zant::velmora_host;

namespace {

class Staging_Tree {
 public:
  Staging_Tree() { test_support::make_staging_tree(directory_.path() / "tree"); }

  Settings settings() const {
    return Settings(Settings_Sources{"/nowhere",
                                     false,
                                     {{"minder.staging_directory", (directory_.path() / "tree").string()},
                                      {"minder.state_directory", (directory_.path() / "state").string()}}});
  }

 private:
  Temporary_Directory directory_;
};

// As on any host, where the directory is the same for all inputs.
std::string with_state(std::string text, const Settings& settings) {
  const std::string name = "%% /state/";
  for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
    text.replace(at + 3, name.size() - 3, settings.state_directory().string() + "/");
  }
  return text;
}

void try_status(const Status& status) {
  require_harmless(to_text(status));
  const auto document = nlohmann::json::parse(to_json_text(status));
  require(document.at("reasons").size() == status.reasons.size());
  const std::string line = to_monitoring_line(status);
  require_harmless(line);
  require(line.find('\n') == line.size() - 1 && std::count(line.begin(), line.end(), '|') == 1);
}

}  // namespace

void try_input(const std::string& input) {
  static const Staging_Tree tree;
  static const Settings settings = tree.settings();
  static const std::string debian = text_of_file(SEEDS "/../apt_answers/healthy");
  static const std::string rhel = text_of_file(SEEDS "/../dnf_answers/healthy");
  const std::string text = with_state(input, settings);
  const Host_In_Text host(text, text.find("ID=debian") == std::string::npos ? rhel : debian);
  try {
    try_status(make_status(settings, host.services));
  } catch (const Refusal& refusal) {
    require(!refusal.messages().empty());
  }
}
