#include <zant/velmora_host/families/apt/upgrade_program.hpp>

#include <fmt/format.h>

namespace zant::velmora_host::apt_outlook {
namespace {

constexpr const char* USUAL_PROGRAM = "/usr/bin/unattended-upgrade";

}  // namespace

Cause missing_program(const Outlook_Question& question, const Answer& program) {
  const std::string command = fmt::format("ls -l {}", USUAL_PROGRAM);
  const auto listed = ask(question, command);
  if (listed.succeeded()) {
    return blocks("upgrades.broken", "unattended-upgrade cannot be executed", told(command, listed.words),
                  fmt::format("chmod 0755 {}", USUAL_PROGRAM));
  }
  return blocks("upgrades.not_installed",
                "unattended-upgrades is not installed, so nothing installs newer versions",
                told("command -v unattended-upgrade", program.words),
                "apt-get install --reinstall --assume-yes unattended-upgrades");
}

Cause failed_program(const std::string& stage, const std::string& error) {
  if (stage == "foreign") {
    return obscures("upgrades.replaced", "unattended-upgrade is another program than the distribution's",
                    error, "Take that program away, or see for yourself what it does");
  }
  // It begins with the same modules as what asks it.
  if (stage == "start" || stage == "load") {
    return blocks("upgrades.broken", "unattended-upgrade itself cannot start", error,
                  "apt-get install --reinstall --assume-yes unattended-upgrades python3-apt "
                  "python3-distro-info");
  }
  return obscures("tools.failed", "what unattended-upgrade would do cannot be found out", error,
                  "Run \"unattended-upgrade --dry-run --debug\" and see what it says");
}

}  // namespace zant::velmora_host::apt_outlook
