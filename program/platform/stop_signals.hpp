#pragma once

#include <chrono>

namespace zant::program {

/// The requests of the operating system to stop. To be made before any other thread is started: from then on
/// the requests are kept for `wait`, also those that come before it is called.
class Stop_Signals {
 public:
  Stop_Signals();

  /// Blocks until the program is told to stop, and says by what.
  const char* wait();

  /// The same, but gives up after that time; null then.
  const char* wait_for(std::chrono::milliseconds time);
};

}  // namespace zant::program
