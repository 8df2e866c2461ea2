#include <zant/velmora_host/observation/metrics.hpp>

#include <zant/velmora_host/services/command_service.hpp>
#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;

TEST(MetricsOfEverything, PassTheCheckOfPrometheus) {
  const auto time = system_clock::from_time_t(1800000000);
  Cycle_State state;
  state.history.last_success = time;
  Verdict verdict;
  verdict.kind = Verdict_Kind::BLOCKED;
  verdict.found = time;
  verdict.outlook.installed = "1.0";
  verdict.outlook.offered = "2\"}\n\\";
  verdict.outlook.newer_is_offered = true;
  verdict.outlook.refreshed = time;
  verdict.outlook.next_run = time;
  verdict.outlook.last_run = Upgrade_Run{time, false, "exit-code"};
  verdict.outlook.causes = {{Cause_Effect::BLOCKS, "package.pinned", "", "one", ""},
                            {Cause_Effect::OBSCURES, "tools.failed", "", "", ""}};
  verdict.history.offered = {"2.0", time};
  verdict.history.version_changed = time;
  const Signing_Key key{"BB", 22, 255, false, system_clock::from_time_t(1900000000)};
  const Temporary_Directory directory;
  const auto file = directory.path() / "minder.prom";
  File_Service().write_file(file, metrics_text(state, verdict, {key}, true, time + std::chrono::seconds(100)),
                            velmora::Write_Flag::REPLACE);

  const auto result = Command_Service({}).run_command(PROMTOOL " check metrics < " + file.string() + " 2>&1",
                                                      velmora::Run_Flag::WAIT_AND_CAPTURE);

  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.exit_code, 0);
}

}  // namespace
}  // namespace zant::velmora_host
