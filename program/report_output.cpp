#include <program/report_output.hpp>

#include <program/exit_status.hpp>
#include <zant/velmora_host/reports/failure_document.hpp>

#include <iostream>
#include <stdexcept>

namespace zant::program {

void print(const std::string& text) {
  std::cout << text << std::flush;
  if (!std::cout) {
    throw std::runtime_error("cannot write to standard output");
  }
}

void print_failure_document(const std::string& kind, int exit_status,
                            const std::vector<std::string>& messages) {
  print(velmora_host::failure_document(kind, Exit_Status::code_of(exit_status), exit_status, messages));
}

}  // namespace zant::program
