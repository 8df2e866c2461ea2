#pragma once

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora::test_support {

/// What was asked of the fakes, in order. Fakes that share a journal show the order across them.
using Call_Journal = std::vector<std::string>;

inline std::shared_ptr<Call_Journal> make_journal() {
  return std::make_shared<Call_Journal>();
}

}  // namespace zant::velmora::test_support
