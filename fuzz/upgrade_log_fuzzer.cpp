// The logs of the host's last upgrades, in which hooks, scripts of packages and the network have their say:
// at most so much of them is told, and never what was not in them.

#include <fuzz/fuzzer.hpp>
#include <fuzz/host_in_text.hpp>
#include <fuzz/told_outlook.hpp>

#include <zant/velmora_host/families/apt/last_run.hpp>
#include <zant/velmora_host/families/dnf/run_preview.hpp>
#include <zant/velmora_host/families/dnf/upgrade_run_words.hpp>

using namespace zant::velmora_host;

void try_input(const std::string& input) {
  const Host_In_Text host("%% 0 tail\n" + input);
  const auto question = question_of(host.services);
  for (const bool is_downloaded : {true, false}) {
    require_tellable(
        apt_outlook::find_failed_upgrade(question, apt_outlook::Upgrade_Log(), "2.0", is_downloaded));
  }
  dnf_outlook::Run_Preview preview;
  preview.offered = "2.0";
  preview.newer_is_offered = true;
  for (const bool has_succeeded : {true, false}) {
    const Upgrade_Run run{question.now, has_succeeded, has_succeeded ? "success" : "exit-code"};
    if (const auto cause = dnf_outlook::find_cause_of_last_run(*host.services.system, run, preview)) {
      require_tellable(Causes{*cause});
    }
  }
}
