#pragma once

#include <csignal>

namespace zant::velmora_host::test_support {

/// Changes what this process does with a signal until the end of the scope; its children inherit it.
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

}  // namespace zant::velmora_host::test_support
