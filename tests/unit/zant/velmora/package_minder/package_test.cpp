#include <zant/velmora/package_minder/package.hpp>

#include <support/virtual_slot.hpp>

#include <gtest/gtest.h>

#include <type_traits>

using namespace zant::velmora;
using test_support::virtual_slot;

namespace {

static_assert(std::is_abstract_v<Package>);
static_assert(std::has_virtual_destructor_v<Package>);
static_assert(sizeof(Package) == sizeof(void*), "an interface has no data members");

TEST(PackageInterface, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(virtual_slot(&Package::locked), 2);
  EXPECT_EQ(virtual_slot(&Package::lock), 3);
  EXPECT_EQ(virtual_slot(&Package::unlock), 4);
  EXPECT_EQ(virtual_slot(&Package::initialize_repo_if_necessary), 5);
  EXPECT_EQ(virtual_slot(&Package::initialize_unattended_upgrades_if_necessary), 6);
}

}  // namespace
