#include <boost/log/utility/setup/console.hpp>
#include <csignal>
#include <iostream>
#include <string>
#include <zant/velmora_host/minding/host_services.hpp>
#include <zant/velmora_host/minding/package_minding.hpp>
#include <zant/velmora_host/reports/check.hpp>
#include <zant/velmora_host/reports/plan.hpp>
#include <zant/velmora_host/reports/status.hpp>
using namespace zant::velmora_host;

int main(int argc, char** argv) {
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);
  const std::string command = argc > 1 ? argv[1] : "run";
  boost::log::add_console_log(std::cerr);
  try {
    const Settings settings({.file = "/etc/velmora-server.properties",
                             .overrides = {{"minder.state_directory", "/var/lib/velmora-server"},
                                           {"minder.metrics_file", "/var/lib/velmora-server/minding.prom"}}});
    const Host_Services services = make_host_services(settings);
    if (command == "status") {
      std::cout << to_json_text(make_status(settings, services, "velmora-server"));
    } else if (command == "plan") {
      std::cout << to_json_text(make_plan(Plan::Operation::CYCLE, settings, services));
    } else if (command == "check") {
      std::cout << to_json_text(make_check_report(settings, services));
    } else {
      Package_Minding minding("velmora-server", settings, services);
      minding.start();
      int received = 0;
      sigwait(&stop_signals, &received);
    }
  } catch (const std::exception& error) {
    std::cerr << "velmora-server: " << error.what() << '\n';
    return 1;
  }
}
