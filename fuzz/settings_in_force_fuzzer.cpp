// What the process that minds the package has written down of its settings, which a crash, a full disk or an
// older version may have left: it is read, and told as it is, or counts as missing.

#include <fuzz/fuzzer.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/reports/settings_report.hpp>
#include <zant/velmora_host/settings/settings_in_force.hpp>

#include <support/fake_filesystem.hpp>

#include <nlohmann/json.hpp>

using namespace zant::velmora_host;
using namespace zant::velmora::test_support;

void try_input(const std::string& input) {
  const auto directory = usual_settings().state_directory();
  Fake_Filesystem files;
  files.add_file(settings_in_force::file_in(directory), input);
  const auto report = make_settings_report(usual_settings(), files, zant::velmora::Init::systemd, "4711");
  require_harmless(to_text(report));
  const auto document = nlohmann::json::parse(to_json_text(report));
  require(document.at("needs_restart") == report.needs_restart());

  const auto read = settings_in_force::read(files, directory);
  require((report.service == Settings_Report::Service::RUNNING) == (read && read->process == "4711"));
  if (read) {
    require(settings_in_force::write(files, directory, *read));
    require(settings_in_force::read(files, directory) == read);
  }
}
