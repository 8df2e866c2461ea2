#include <program/log/program_log.hpp>

#include <zant/logging/source.hpp>

namespace zant::program {

void log_message(zant::logging::severity_level severity, const std::string& message) {
  zant::logging::Source log;
  log.init_("package-minder", "");
  ZANT_LOG(log, severity) << message;
}

}  // namespace zant::program
