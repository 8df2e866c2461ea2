#include <zant/velmora/package_minder/package_constants.hpp>

#include <gtest/gtest.h>

using namespace zant::velmora;

namespace {

TEST(PackageConstants, HaveTheirLiteralValues) {
  EXPECT_STREQ(Package_Constants::PACKAGE_NAME, "zant-velmora");
  EXPECT_STREQ(Package_Constants::PRODUCT_WORD, "velmora");
}

}  // namespace
