#include <zant/velmora/choco/choco_exe.hpp>
#include <zant/velmora/choco/virtual_choco_exe.hpp>

#include <support/virtual_slot.hpp>

#include <gtest/gtest.h>

#include <type_traits>

using namespace zant::velmora;
using test_support::virtual_slot;

namespace {

static_assert(std::is_abstract_v<Virtual_Choco_Exe>);
static_assert(std::has_virtual_destructor_v<Virtual_Choco_Exe>);
static_assert(sizeof(Virtual_Choco_Exe) == sizeof(void*), "an interface has no data members");
static_assert(std::is_convertible_v<Choco_Exe*, Virtual_Choco_Exe*>);

TEST(VirtualChocoExe, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(virtual_slot(&Virtual_Choco_Exe::get_exe_path), 2);
  EXPECT_EQ(virtual_slot(&Virtual_Choco_Exe::package_is_pinned), 3);
  EXPECT_EQ(virtual_slot(&Virtual_Choco_Exe::pin_package), 4);
  EXPECT_EQ(virtual_slot(&Virtual_Choco_Exe::unpin_package), 5);
  EXPECT_EQ(virtual_slot(&Virtual_Choco_Exe::add_repo), 6);
  EXPECT_EQ(virtual_slot(&Virtual_Choco_Exe::remove_repo), 7);
  EXPECT_EQ(virtual_slot(&Virtual_Choco_Exe::clear_http_cache), 8);
}

}  // namespace
