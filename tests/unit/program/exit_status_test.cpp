#include <program/exit_status.hpp>

#include <gtest/gtest.h>

namespace zant::program {
namespace {

using velmora_host::Refusal_Reason;

TEST(ExitStatus, OfARefusalIsTheOneThatSysexitsGivesItsReason) {
  EXPECT_EQ(Exit_Status::of(Refusal_Reason::UNSUPPORTED_HOST), 69);
  EXPECT_EQ(Exit_Status::of(Refusal_Reason::BUSY), 75);
  EXPECT_EQ(Exit_Status::of(Refusal_Reason::NO_RIGHTS), 77);
  EXPECT_EQ(Exit_Status::of(Refusal_Reason::BAD_SETTINGS), 78);
}

TEST(ExitStatus, HasACodeForPrograms) {
  EXPECT_STREQ(Exit_Status::code_of(1), "failed");
  EXPECT_STREQ(Exit_Status::code_of(64), "wrong_usage");
  EXPECT_STREQ(Exit_Status::code_of(69), "unsupported_host");
  EXPECT_STREQ(Exit_Status::code_of(75), "busy");
  EXPECT_STREQ(Exit_Status::code_of(77), "no_rights");
  EXPECT_STREQ(Exit_Status::code_of(78), "bad_settings");
}

}  // namespace
}  // namespace zant::program
