#include <program/report_output.hpp>

#include <program/exit_status.hpp>
#include <zant/velmora_host/reports/failure_document.hpp>

#include <iostream>
#include <stdexcept>

namespace zant::program {

namespace {

constexpr const char* NOT_WRITTEN = "cannot write to standard output";

}  // namespace

void print(const std::string& text) {
  std::cout << text << std::flush;
  if (!std::cout) {
    throw std::runtime_error(NOT_WRITTEN);
  }
}

int exit_status_after_output(int exit_status) {
  std::cout.flush();
  if (std::cout) {
    return exit_status;
  }
  std::cerr << "package-minder: " << NOT_WRITTEN << "\n";
  return Exit_Status::FAILED;
}

void print_failure_document(const std::string& kind, int exit_status,
                            const std::vector<std::string>& messages) {
  print(velmora_host::failure_document(kind, Exit_Status::code_of(exit_status), exit_status, messages));
}

}  // namespace zant::program
