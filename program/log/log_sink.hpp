#pragma once

#include <zant/velmora_host/settings/settings.hpp>

#include <zant/logging/severity_level.hpp>

#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

namespace zant::program {

/// Writes the log to a descriptor for as long as it lives, one whole line at a time. A program has one at
/// most.
class Log_Sink {
 public:
  /// @param descriptor stays the caller's; what cannot be written to it is lost.
  Log_Sink(int descriptor, velmora_host::Log_Format format, zant::logging::severity_level least_severity);
  ~Log_Sink();
  Log_Sink(const Log_Sink&) = delete;
  Log_Sink& operator=(const Log_Sink&) = delete;

 private:
  boost::shared_ptr<boost::log::sinks::sink> sink_;
};

}  // namespace zant::program
