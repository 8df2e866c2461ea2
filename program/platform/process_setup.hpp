#pragma once

#include <string>
#include <vector>

namespace zant::program {

/// Makes this process independent of how it was started. First thing in the program.
void set_up_process();

/// What the program was called with, its own name first, in UTF-8.
class Arguments {
 public:
  /// @param argc, argv those of main; they outlive the object.
  Arguments(int argc, const char* const* argv);

  int count() const noexcept { return static_cast<int>(values_.size()); }
  const char* const* values() const noexcept { return values_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<const char*> values_;
};

}  // namespace zant::program
