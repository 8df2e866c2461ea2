#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <program/report_output.hpp>
#include <zant/velmora_host/reports/monitoring.hpp>
#include <zant/velmora_host/reports/status.hpp>

namespace zant::program {

int status(const Invocation& invocation, const velmora_host::Settings& settings,
           const velmora_host::Host_Services& services) {
  const auto report = make_status(settings, services);
  if (invocation.monitoring) {
    print(to_monitoring_line(report));
    return static_cast<int>(monitoring_state(report));
  }
  print_report(report, invocation.json);
  return Exit_Status::DONE;
}

}  // namespace zant::program
