#include <zant/velmora_host/services/judged_file.hpp>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <system_error>

namespace zant::velmora_host {
namespace {

// A service that takes this for a wrong permission ends for good over what passes.
TEST(JudgedFile, AProcessWithoutDescriptorsIsToldThatAndNotThatTheFileIsBad) {
  rlimit previous{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &previous), 0);
  const rlimit none_left{0, previous.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none_left), 0);

  std::error_code error;
  try {
    read_judged("/etc/passwd");
  } catch (const std::system_error& failure) {
    error = failure.code();
  }

  ::setrlimit(RLIMIT_NOFILE, &previous);
  EXPECT_EQ(error, std::errc::too_many_files_open);
}

}  // namespace
}  // namespace zant::velmora_host
