#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace zant::velmora_host::test_support {

/// Gives an environment variable of this process another value until the end of the scope.
class Environment_Variable {
 public:
  /// @param value null removes the variable.
  Environment_Variable(const char* name, const char* value) : name_(name) {
    if (const char* previous = std::getenv(name)) {
      previous_ = previous;
    }
    set_(value);
  }
  ~Environment_Variable() { set_(previous_ ? previous_->c_str() : nullptr); }
  Environment_Variable(const Environment_Variable&) = delete;
  Environment_Variable& operator=(const Environment_Variable&) = delete;

 private:
  void set_(const char* value) const {
    if (value == nullptr) {
      ::unsetenv(name_);
    } else {
      ::setenv(name_, value, 1);
    }
  }

  const char* name_;
  std::optional<std::string> previous_;
};

}  // namespace zant::velmora_host::test_support
