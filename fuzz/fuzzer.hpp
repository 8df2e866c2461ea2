#pragma once

#include <fuzz/require.hpp>

#include <boost/log/core.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

/// What a fuzzer defines: takes one input, and ends the process, by `require` or by an exception that gets
/// out, when what must hold does not.
void try_input(const std::string& input);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  boost::log::core::get()->set_logging_enabled(false);
  try_input(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
