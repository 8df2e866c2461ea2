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

TEST(IsoTime, GoesBeyondWhat32BitsCanCount) {
  const system_clock::time_point in_2040(std::chrono::seconds(2232230400));

  EXPECT_EQ(to_iso_time(in_2040), "2040-09-26T00:00:00Z");
  EXPECT_EQ(to_iso_day(in_2040), "2040-09-26");
  EXPECT_EQ(parse_iso_time("2040-09-26T00:00:00Z"), in_2040);
  EXPECT_EQ(time_since_epoch(2232230400), in_2040);
}

TEST(IsoTime, MayBeBefore1970) {
  const system_clock::time_point in_1960(std::chrono::seconds(-300000000));

  EXPECT_EQ(to_iso_time(in_1960), "1960-06-29T18:40:00Z");
  EXPECT_EQ(to_iso_time(in_1960 - std::chrono::nanoseconds(1)), "1960-06-29T18:39:59Z");
  EXPECT_EQ(parse_iso_time("1960-06-29T18:40:00Z"), in_1960);
}

TEST(IsoTime, IsNoneThatCannotBeReckonedWith) {
  for (const char* const text : {"", "x", "2026-13-01T00:00:00Z", "1677-09-22T00:00:00Z",
                                 "1899-12-31T23:59:59Z", "2262-04-11T00:00:00Z", "9999-12-31T23:59:59Z"}) {
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
