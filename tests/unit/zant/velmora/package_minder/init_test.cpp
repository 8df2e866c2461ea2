#include <zant/velmora/package_minder/init.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

using namespace zant::velmora;

namespace {

static_assert(std::is_same_v<std::underlying_type_t<Init>, std::uint32_t>);

TEST(InitSystem, IsNumberedAsHostsWereBuiltAgainst) {
  EXPECT_EQ(static_cast<int>(Init::systemd), 0);
  EXPECT_EQ(static_cast<int>(Init::other), 1);
}

}  // namespace
