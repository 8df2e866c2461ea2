#pragma once

#include <string>
#include <vector>

namespace zant::program {

/// Writes all of the text to standard output.
///
/// @throws std::runtime_error when it could not be written.
void print(const std::string& text);

/// The status to exit with when all that was to be printed is in standard output's buffer: the given one, or
/// that of a failure, which is told on standard error, when it could not be written.
int exit_status_after_output(int exit_status);

/// Prints a report for a person, or its document for programs.
template <typename Report>
void print_report(const Report& report, bool as_json) {
  print(as_json ? to_json_text(report) : to_text(report));
}

/// Prints the document that stands in a report's place, with the reason why there is none.
void print_failure_document(const std::string& kind, int exit_status,
                            const std::vector<std::string>& messages);

}  // namespace zant::program
