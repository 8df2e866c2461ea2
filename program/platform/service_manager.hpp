#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace zant::program {

/// A service manager that listens to this process. Any thread may call it.
class Service_Manager {
 public:
  virtual ~Service_Manager() = default;

  /// The service is up. `status` is one line for the administrator, as all of them.
  virtual void ready(const std::string& status) = 0;

  /// What the service does now.
  virtual void status(const std::string& status) = 0;

  /// How often `alive` must be called for the service not to be restarted; zero when no watchdog is set.
  virtual std::chrono::milliseconds watchdog_interval() const = 0;

  /// The service works as it should.
  virtual void alive() = 0;

  /// The service is about to end.
  virtual void stopping(const std::string& status) = 0;
};

}  // namespace zant::program
