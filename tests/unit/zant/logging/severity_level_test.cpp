#include <zant/logging/severity_level.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <sstream>
#include <type_traits>

using namespace zant::logging;

namespace {

static_assert(std::is_same_v<std::underlying_type_t<severity_level>, std::uint32_t>);

std::string written(severity_level level) {
  std::ostringstream stream;
  stream << level;
  return stream.str();
}

TEST(SeverityLevel, CountsFromZeroToSixInIncreasingGravity) {
  EXPECT_EQ(static_cast<int>(severity_level::trace), 0);
  EXPECT_EQ(static_cast<int>(severity_level::debug), 1);
  EXPECT_EQ(static_cast<int>(severity_level::info), 2);
  EXPECT_EQ(static_cast<int>(severity_level::notice), 3);
  EXPECT_EQ(static_cast<int>(severity_level::warning), 4);
  EXPECT_EQ(static_cast<int>(severity_level::error), 5);
  EXPECT_EQ(static_cast<int>(severity_level::fatal), 6);
}

TEST(SeverityLevel, HasANameForEachLevel) {
  EXPECT_EQ(to_string(severity_level::trace), "trace");
  EXPECT_EQ(to_string(severity_level::debug), "debug");
  EXPECT_EQ(to_string(severity_level::info), "info");
  EXPECT_EQ(to_string(severity_level::notice), "notice");
  EXPECT_EQ(to_string(severity_level::warning), "warning");
  EXPECT_EQ(to_string(severity_level::error), "error");
  EXPECT_EQ(to_string(severity_level::fatal), "fatal");
}

TEST(SeverityLevel, HasNoNameOutsideTheScale) {
  EXPECT_EQ(to_string(static_cast<severity_level>(7)), "");
}

TEST(SeverityLevel, IsFoundByItsName) {
  EXPECT_EQ(severity_level_from_string("trace"), severity_level::trace);
  EXPECT_EQ(severity_level_from_string("debug"), severity_level::debug);
  EXPECT_EQ(severity_level_from_string("info"), severity_level::info);
  EXPECT_EQ(severity_level_from_string("notice"), severity_level::notice);
  EXPECT_EQ(severity_level_from_string("warning"), severity_level::warning);
  EXPECT_EQ(severity_level_from_string("error"), severity_level::error);
  EXPECT_EQ(severity_level_from_string("fatal"), severity_level::fatal);
}

TEST(SeverityLevel, IsNotFoundByAnyOtherText) {
  for (const char* name : {"", "Trace", "ERROR", "warn", "info ", "3"}) {
    EXPECT_EQ(severity_level_from_string(name), std::nullopt) << '"' << name << '"';
  }
}

TEST(SeverityLevel, IsWrittenAsItsNameAndOutsideTheScaleAsItsNumber) {
  EXPECT_EQ(written(severity_level::notice), "notice");
  EXPECT_EQ(written(static_cast<severity_level>(7)), "7");
}

}  // namespace
