#include <program/command_line.hpp>
#include <program/dispatch.hpp>
#include <program/platform/interruption.hpp>
#include <program/platform/platform.hpp>
#include <program/platform/process_setup.hpp>
#include <program/report_output.hpp>
#include <zant/velmora_host/minding/host_services.hpp>

#include <boost/nowide/args.hpp>

#include <iostream>

int main(int argc, char** argv) {
  using namespace zant::program;  // NOLINT(google-build-using-namespace): main has no namespace
  set_up_process();
  const boost::nowide::args utf8_arguments(argc, argv);
  const auto parsed = parse_command_line(argc, argv, std::cout, std::cerr);
  if (!parsed.command_line) {
    return exit_status_after_output(parsed.exit_status);
  }
  const auto work = [&parsed] {
    return dispatch(*parsed.command_line, zant::velmora_host::make_host_services);
  };
  if (parsed.command_line->command->is_service) {
    return run_as_service(work);
  }
  const Clean_Interruption interruption;
  return work();
}
