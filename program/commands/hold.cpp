#include <program/commands/commands.hpp>
#include <program/exit_status.hpp>
#include <program/log/program_log.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>
#include <zant/velmora_host/reports/settings_report.hpp>

#include <fmt/format.h>

namespace zant::program {
namespace {

using velmora_host::Settings_Report;
using zant::logging::severity_level;

void warn_beside_service(const velmora_host::Settings& settings,
                         const velmora_host::Host_Services& services) {
  const auto report = make_settings_report(settings, services);
  if (report.service != Settings_Report::Service::NOT_RUNNING) {
    log_message(
        severity_level::warning,
        fmt::format("package-minder is running (process {}) and releases this hold in its next cycle; to "
                    "keep the hold, stop it first: \"systemctl stop package-minder\"",
                    report.process));
  }
}

}  // namespace

int hold(const Invocation& /*invocation*/, const velmora_host::Settings& settings,
         const velmora_host::Host_Services& services) {
  if (!velmora_host::hold_package(settings, services)) {
    return Exit_Status::FAILED;
  }
  warn_beside_service(settings, services);
  return Exit_Status::DONE;
}

}  // namespace zant::program
