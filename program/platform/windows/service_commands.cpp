#include <program/platform/windows/service_commands.hpp>

#include <program/exit_status.hpp>
#include <zant/velmora_host/services/windows/win32_error.hpp>
#include <zant/velmora_host/settings/host_defaults.hpp>

#include <zant/logging/source.hpp>

#include <Poco/Exception.h>
#include <Poco/Util/WinService.h>
#include <fmt/format.h>
#include <boost/filesystem/operations.hpp>
#include <boost/nowide/convert.hpp>

#include <windows.h>

#include <chrono>
#include <string>
#include <thread>

namespace zant::program::service_commands {
namespace {

using Poco::Util::WinService;
using zant::logging::severity_level;

constexpr const char* SERVICE_NAME = "package-minder";
constexpr const char* DISPLAY_NAME = "Package Minder for zant-velmora";
constexpr const char* DESCRIPTION =
    "Keeps the package zant-velmora upgradable: its source registered, its pin released, and its upgrades "
    "scheduled.";
constexpr int RESTART_DELAY_MILLISECONDS = 60 * 1000;
constexpr std::chrono::milliseconds LOOK_AGAIN{250};

void log_message(severity_level level, const std::string& message) {
  zant::logging::Source log;
  log.init_("package-minder", "");
  ZANT_LOG(log, level) << message;
}

// Poco's exceptions name the service and not the reason, which may still be there while nothing else is
// called.
template <typename Change>
int change_service(Change change, const std::string& success) {
  try {
    WinService service(SERVICE_NAME);
    try {
      change(service);
    } catch (const Poco::Exception& error) {
      const DWORD code = ::GetLastError();
      log_message(severity_level::error,
                  code == ERROR_SUCCESS
                      ? error.displayText()
                      : fmt::format("{}: {}", error.displayText(), velmora_host::win32_error_text(code)));
      return Exit_Status::FAILED;
    }
  } catch (const Poco::Exception& error) {
    log_message(severity_level::error, error.displayText());
    return Exit_Status::FAILED;
  }
  log_message(severity_level::info, success);
  return Exit_Status::DONE;
}

std::string program_path() {
  std::wstring path(32768, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return boost::nowide::narrow(path);
}

// As CommandLineToArgvW takes it apart again: backslashes count only before a quote.
std::string quoted(const std::string& argument) {
  std::string text = "\"";
  std::size_t backslashes = 0;
  for (const char character : argument) {
    if (character == '"') {
      text.append(backslashes + 1, '\\');
    }
    backslashes = character == '\\' ? backslashes + 1 : 0;
    text += character;
  }
  return text.append(backslashes, '\\') + "\"";
}

void wait_for_stop(const WinService& service) {
  while (!service.isStopped()) {
    std::this_thread::sleep_for(LOOK_AGAIN);
  }
}

void stop_if_running(WinService& service) {
  if (service.isRunning()) {
    service.stop();
  }
  wait_for_stop(service);
}

Command service_command(const char* name, const char* description,
                        int (*work)(const velmora_host::Settings_Sources& settings)) {
  Command command{name, description};
  command.work = Work_Without_Settings(
      [work](const Invocation& invocation, const Service_Maker&) { return work(invocation.settings); });
  return command;
}

}  // namespace

std::string make_command_line(const std::string& program, const velmora_host::Settings_Sources& settings) {
  std::string line = quoted(program);
  if (settings.file_is_required) {
    // The service starts in another directory.
    line += " --settings " + quoted(boost::filesystem::absolute(settings.file).string());
  }
  for (const auto& [key, value] : settings.overrides) {
    line += " --set " + quoted(key + "=" + value);
  }
  return line + " run";
}

int install(const velmora_host::Settings_Sources& settings) {
  return change_service(
      [&settings](WinService& service) {
        service.registerService(make_command_line(program_path(), settings), DISPLAY_NAME);
        service.setDescription(DESCRIPTION);
        service.setStartup(WinService::SVC_AUTO_START);
        service.setFailureActions({{WinService::SVC_RESTART, RESTART_DELAY_MILLISECONDS}});
      },
      "The service is installed, and starts with the system; \"package-minder service start\" starts it now");
}

int remove(const velmora_host::Settings_Sources& /*settings*/) {
  return change_service(
      [](WinService& service) {
        stop_if_running(service);
        service.unregisterService();
      },
      "The service is removed; what it set up stays until \"package-minder purge\"");
}

int start(const velmora_host::Settings_Sources& /*settings*/) {
  return change_service([](WinService& service) { service.start(); }, "The service is running");
}

int stop(const velmora_host::Settings_Sources& /*settings*/) {
  return change_service(stop_if_running, "The service has stopped");
}

std::vector<Command> make_commands() {
  Command service{"service", "The program as a service of this system"};
  service.subcommands = {
      service_command("install", "Register the service, with the settings of this line", install),
      service_command("remove", "Stop the service if it runs, and unregister it", remove),
      service_command("start", "Start the service", start),
      service_command("stop", "Stop the service, after the cycle under way", stop),
  };
  return {service};
}

}  // namespace zant::program::service_commands
