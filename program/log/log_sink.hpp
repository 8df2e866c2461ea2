#pragma once

#include <zant/velmora_host/settings/settings.hpp>

#include <zant/logging/severity_level.hpp>

#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

namespace zant::program {

/// Writes the log to a descriptor until it is destroyed, one whole line at a time. At most one may exist.
class Log_Sink {
 public:
  /// @param descriptor remains the caller's; records that cannot be written to it are lost.
  Log_Sink(int descriptor, velmora_host::Log_Format format, zant::logging::severity_level least_severity);
  ~Log_Sink();
  Log_Sink(const Log_Sink&) = delete;
  Log_Sink& operator=(const Log_Sink&) = delete;

 private:
  boost::shared_ptr<boost::log::sinks::sink> sink_;
};

}  // namespace zant::program
