#include <zant/velmora_host/staging/metrics_file.hpp>

#include <zant/velmora_host/services/privileges.hpp>

#include <zant/logging/source.hpp>

#include <fmt/format.h>

namespace zant::velmora_host {

using zant::logging::severity_level;

Findings find_metrics_file_faults(const boost::filesystem::path& file) {
  if (file.empty()) {
    return {};
  }
  const std::string fault = privileges::who_else_may_write_what_is_there(file);
  if (fault.empty()) {
    return {};
  }
  return {{file.string(), fault,
           "metrics are not written there: the file and every directory above it must belong to root, and "
           "nobody else may write to them",
           "metrics.writable_by_others"}};
}

bool may_write_metrics_file(const boost::filesystem::path& file) {
  const Findings faults = find_metrics_file_faults(file);
  if (faults.empty()) {
    return true;
  }
  zant::logging::Source log;
  log.init_("package-minder", "");
  ZANT_LOG(log, severity_level::warning) << to_string(faults.front());
  return false;
}

}  // namespace zant::velmora_host
