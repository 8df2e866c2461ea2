#pragma once

#include <zant/velmora/package_minder/errors.hpp>

#include <gtest/gtest.h>

#include <string>

namespace zant::velmora::test_support {

/// Expects that the action throws exactly this class of the error family with this message and code.
template <typename Error, typename Action>
void expect_throws(Action&& action, const std::string& message, int code) {
  try {
    action();
    ADD_FAILURE() << "nothing was thrown, expected: " << message;
  } catch (const Error& error) {
    EXPECT_EQ(error.what(), message);
    EXPECT_EQ(error.code(), code);
  }
}

/// Expects the error of a failed step on the host.
template <typename Action>
void expect_host_step_failed(Action&& action, const std::string& message) {
  expect_throws<Internal_Error<std::runtime_error>>(action, message, -2);
}

}  // namespace zant::velmora::test_support
