#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <program/report_output.hpp>
#include <zant/velmora_host/reports/why.hpp>

namespace zant::program {

int why(const Invocation& invocation, const velmora_host::Settings& settings,
        const velmora_host::Host_Services& services) {
  print_report(make_verdict(settings, services, invocation.online), invocation.json);
  return Exit_Status::DONE;
}

}  // namespace zant::program
