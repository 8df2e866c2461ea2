#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/base/printable.hpp>
#include <zant/velmora_host/families/apt/apt_family.hpp>
#include <zant/velmora_host/families/minded_host.hpp>
#include <zant/velmora_host/observation/metrics.hpp>
#include <zant/velmora_host/reports/why.hpp>
#include <zant/velmora_host/verdict/find_verdict.hpp>
#include <zant/velmora_host/verdict/verdict_store.hpp>

#include <fuzz/host_in_text.hpp>
#include <fuzz/require.hpp>
#include <support/fake_filesystem.hpp>
#include <support/host_side/fake_host_filesystem.hpp>
#include <support/host_side/told_outlook.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;

constexpr const char* PRIVATE_DIRECTORY = "/private";
constexpr const char* RECORD = "/state/verdict.json";
constexpr std::size_t MOST_CAUSES = 50;
constexpr std::size_t LONGEST_SENTENCE = 550;
constexpr std::size_t LONGEST_WORDS = 2050;

system_clock::time_point noon() {
  return system_clock::from_time_t(1795348800);
}

// As a service finds it, but for the family, which has been asked already.
Verdict verdict_of(const Upgrade_Outlook& outlook, const Host_Services& services) {
  const test_support::Told_Family<APT_Family> family(std::make_shared<const Upgrade_Outlook>(outlook));
  const Minded_Host host{usual_settings(), services, family, velmora::Init::systemd};
  return find_verdict(host, {}, false, {});
}

void require_bounded(const Verdict& verdict) {
  const auto& outlook = verdict.outlook;
  require(outlook.installed.size() < LONGEST_SENTENCE && outlook.offered.size() < LONGEST_SENTENCE);
  require(!outlook.last_run || outlook.last_run->result.size() < LONGEST_SENTENCE);
  require(outlook.causes.size() <= MOST_CAUSES);
  for (const auto& cause : outlook.causes) {
    require(!cause.code.empty() && !cause.message.empty() && !cause.remedy.empty());
    require(cause.message.size() < LONGEST_SENTENCE);
    require(cause.evidence.size() < LONGEST_WORDS && cause.remedy.size() < LONGEST_WORDS);
    // It is typed, or pasted.
    require(is_plain_text(cause.remedy));
  }
}

void require_kept(const Verdict& verdict) {
  velmora::test_support::Fake_Filesystem files;
  files.add_directory("/state");
  require(verdict_store::write(files, RECORD, verdict));
  const auto text = files.contents(RECORD);
  const auto again = verdict_store::read(files, RECORD);
  require(again.has_value() && verdict_store::write(files, RECORD, *again));
  require(files.contents(RECORD) == text);
}

}  // namespace

const Settings& usual_settings() {
  static const Settings settings(Settings_Sources{"/nowhere", false, {}});
  return settings;
}

Outlook_Question question_of(const Host_Services& services, velmora::Init init) {
  services.filesystem->create_directories(PRIVATE_DIRECTORY);
  return {usual_settings(), services, init, PRIVATE_DIRECTORY, false, noon()};
}

std::string text_of_healthy_host(const Family& family, const std::string& file) {
  std::string text = text_of_file(file);
  const Host_In_Text host(text);
  require(family.find_upgrade_outlook(question_of(host.services)).causes.empty());
  return text;
}

void require_harmless(const std::string& text) {
  require(printable_report(text) == text);
}

void require_tellable(const Verdict& verdict) {
  require_harmless(to_text(verdict));
  const auto document = nlohmann::json::parse(to_json_text(verdict));
  require(document.at("causes").size() == verdict.outlook.causes.size());
  metrics_text({}, verdict, {}, false, verdict.found);
  require(offered_for(verdict).count() >= 0);
  require_kept(verdict);
}

void require_tellable(const Upgrade_Outlook& outlook) {
  const Host_Services services{nullptr, std::make_shared<test_support::Fake_Host_Filesystem>()};
  const Verdict verdict = verdict_of(outlook, services);
  require_bounded(verdict);
  require_tellable(verdict);
}

void require_tellable(const Causes& causes) {
  Upgrade_Outlook outlook;
  outlook.causes = causes;
  require_tellable(outlook);
}

void try_outlook_of(const Family& family, const Host_Services& services, bool is_online) {
  auto question = question_of(services, find_init(*services.filesystem));
  question.online = is_online;
  require_tellable(family.find_upgrade_outlook(question));
}

}  // namespace zant::velmora_host
