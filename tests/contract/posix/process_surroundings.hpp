#pragma once

#include <csignal>
#include <optional>
#include <string>

/// Changes to what a process passes on to its children, put back at the end of the scope.
namespace zant::velmora::test_support {

class Environment_Variable {
 public:
  /// @param value null takes the variable away.
  Environment_Variable(const char* name, const char* value);
  ~Environment_Variable();
  Environment_Variable(const Environment_Variable&) = delete;
  Environment_Variable& operator=(const Environment_Variable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> previous_;
};

class Signal_Disposition {
 public:
  Signal_Disposition(int signal_number, void (*handler)(int))
      : signal_number_(signal_number), previous_(std::signal(signal_number, handler)) {}
  ~Signal_Disposition() { std::signal(signal_number_, previous_); }
  Signal_Disposition(const Signal_Disposition&) = delete;
  Signal_Disposition& operator=(const Signal_Disposition&) = delete;

 private:
  int signal_number_;
  void (*previous_)(int);
};

/// From now on the kernel knows no pidfd_open(2), for this process and its children. For good.
void deny_process_descriptors();

}  // namespace zant::velmora::test_support
