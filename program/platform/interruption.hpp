#pragma once

#include <memory>

namespace zant::program {

/// While it lives, a request of the operating system to stop, or the terminal's to interrupt, deletes the
/// temporary directories of this process before it ends the process as it would have done anyway. To be made
/// before any other thread is started; not beside `Stop_Signals`, which leave the end to the program.
class Clean_Interruption {
 public:
  Clean_Interruption();
  ~Clean_Interruption();
  Clean_Interruption(const Clean_Interruption&) = delete;
  Clean_Interruption& operator=(const Clean_Interruption&) = delete;

 private:
  class Watch;

  std::unique_ptr<Watch> watch_;
};

}  // namespace zant::program
