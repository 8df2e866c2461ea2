#pragma once

#include <locale>

namespace zant::velmora::test_support {

/// Makes a facet part of the process's locale while it lives.
class Scoped_Locale {
 public:
  template <typename Facet>
  explicit Scoped_Locale(Facet* facet) : before_(std::locale::global(std::locale(std::locale(), facet))) {}

  ~Scoped_Locale() { std::locale::global(before_); }
  Scoped_Locale(const Scoped_Locale&) = delete;
  Scoped_Locale& operator=(const Scoped_Locale&) = delete;

 private:
  std::locale before_;
};

}  // namespace zant::velmora::test_support
