#include <zant/velmora_host/families/apt/outlook_tools.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host::apt_outlook {
namespace {

TEST(OutlookTools, ReadTimesThatTheClockCanHold) {
  EXPECT_EQ(parse_epoch(" 1795348800\n"), std::chrono::system_clock::from_time_t(1795348800));
  for (const char* const text : {"", "x", "-1", "1.5", "999999999999", "9999999999999999999999"}) {
    EXPECT_FALSE(parse_epoch(text)) << text;
  }
}

TEST(OutlookTools, ConfigureAnOriginAndNothingElse) {
  EXPECT_EQ(configuring_origin("o=It's"),
            "echo 'Unattended-Upgrade::Origins-Pattern {\"o=It'\\''s\";};' > "
            "/etc/apt/apt.conf.d/zzz-zant-velmora");
  EXPECT_FALSE(configuring_origin("o=x\";}; APT::Get::AllowUnauthenticated \"true"));
  EXPECT_FALSE(configuring_origin("o=x\n"));
  EXPECT_FALSE(configuring_origin("o=\xff"));
}

TEST(OutlookTools, SearchNoMoreThanTheStackHasRoomFor) {
  EXPECT_EQ(searchable("words"), "words");
  EXPECT_EQ(searchable(std::string(1000000, 'x')).size(), 1500U);
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
