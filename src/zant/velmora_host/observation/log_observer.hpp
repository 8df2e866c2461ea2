#pragma once

#include <zant/logging/severity_level.hpp>

#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <functional>
#include <string>

namespace zant::velmora_host {

struct Log_Record {
  zant::logging::severity_level severity;
  std::string channel;
  std::string message;
};

/// Hands over each log record of the process from a severity on, for as long as it lives, on the thread that
/// writes the record.
class Log_Observer {
 public:
  using Handler = std::function<void(const Log_Record& record)>;

  /// @param handler may be called from several threads at once.
  Log_Observer(zant::logging::severity_level least_severity, Handler handler);
  ~Log_Observer();
  Log_Observer(const Log_Observer&) = delete;
  Log_Observer& operator=(const Log_Observer&) = delete;

 private:
  boost::shared_ptr<boost::log::sinks::sink> sink_;
};

}  // namespace zant::velmora_host
