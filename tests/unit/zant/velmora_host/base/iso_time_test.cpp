#include <zant/velmora_host/base/iso_time.hpp>

#include <Poco/Exception.h>
#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

using std::chrono::system_clock;

TEST(IsoTime, IsReadAsItIsWritten) {
  EXPECT_EQ(parse_iso_time("2026-01-31T03:00:00Z"), system_clock::from_time_t(1769828400));
  EXPECT_EQ(to_iso_time(system_clock::from_time_t(1769828400)), "2026-01-31T03:00:00Z");
}

TEST(IsoTime, IsNoneThatCannotBeReckonedWith) {
  for (const char* const text : {"", "x", "2026-13-01T00:00:00Z", "1677-09-22T00:00:00Z",
                                 "1969-12-31T23:59:59Z", "2262-04-11T00:00:00Z", "9999-12-31T23:59:59Z"}) {
    EXPECT_THROW(parse_iso_time(text), Poco::Exception) << text;
  }
}

TEST(IsoTime, IsCountedFrom1970) {
  EXPECT_EQ(time_since_epoch(0), system_clock::time_point());
  EXPECT_EQ(time_since_epoch(1769828400), system_clock::from_time_t(1769828400));
  EXPECT_FALSE(time_since_epoch(-1));
  EXPECT_FALSE(time_since_epoch(253402300799));
  EXPECT_FALSE(time_since_epoch(9223372036854775807));
}

TEST(IsoTime, LeavesRoomForReckoningAhead) {
  const auto latest = parse_iso_time("2261-01-01T00:00:00Z");

  EXPECT_GT(latest + std::chrono::hours(24 * 300), latest);
  EXPECT_GT(latest - system_clock::time_point(), std::chrono::hours(24 * 365));
}

}  // namespace
}  // namespace zant::velmora_host
