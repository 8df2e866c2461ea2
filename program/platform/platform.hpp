#pragma once

#include <program/commands/command.hpp>
#include <program/platform/service_manager.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace zant::program {

/// What an operating system may have. Null where it has no such thing.
struct Platform {
  /// Connects to the service manager that started this process; returns null when none listens.
  std::unique_ptr<Service_Manager> (*connect_to_service_manager)();

  /// Does the work of a service in a process which the service manager starts, stops and asks for its state
  /// through the operating system, and returns what the work returns. In a process that was started in
  /// another way it only does the work. Null where a service is a process like any other.
  int (*run_as_service)(const std::function<int()>& work);

  /// Makes the commands of the program that only this operating system has. Null where there are none.
  std::vector<Command> (*make_commands)();
};

/// The operating system that the program is built for.
extern const Platform PLATFORM;

/// The service manager that listens to this process, or null.
inline std::unique_ptr<Service_Manager> find_service_manager() {
  return PLATFORM.connect_to_service_manager != nullptr ? PLATFORM.connect_to_service_manager() : nullptr;
}

/// Does the work of the service in the way of this operating system, and returns what the work returns.
inline int run_as_service(const std::function<int()>& work) {
  return PLATFORM.run_as_service != nullptr ? PLATFORM.run_as_service(work) : work();
}

}  // namespace zant::program
