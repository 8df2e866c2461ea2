#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zant::velmora::test_support {

/// Where in the table of virtual operations this one stands, the destructor being 1 (of the two entries that
/// it takes in the table it counts as one). Hosts that were built against an earlier version of the library
/// call by position.
///
/// Reads the pointer to member as the Itanium C++ ABI lays it out, which is the one of all hosts but Windows.
template <typename Operation>
std::size_t virtual_slot(Operation operation) {
  static_assert(sizeof(operation) == 2 * sizeof(std::ptrdiff_t));
  std::uintptr_t words[2];
  std::memcpy(words, &operation, sizeof(words));
#if defined(__aarch64__) || defined(__arm__)
  const std::uintptr_t offset = words[0];
#else
  const std::uintptr_t offset = words[0] - 1;  // the lowest bit tells a virtual operation
#endif
  return offset / sizeof(void*);
}

}  // namespace zant::velmora::test_support
