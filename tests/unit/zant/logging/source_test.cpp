#include <zant/logging/source.hpp>

#include <support/captured_log.hpp>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <type_traits>

using namespace zant::logging;
using testing::ElementsAre;
using testing::IsEmpty;
using zant::velmora::test_support::Captured_Log;
using zant::velmora::test_support::Captured_Record;

namespace {

static_assert(std::is_same_v<Source::Logger, boost::log::sources::severity_channel_logger<severity_level>>);

class LogSource : public testing::Test {
 protected:
  ~LogSource() override {
    boost::log::core::get()->set_logging_enabled(true);
    boost::log::core::get()->reset_filter();
  }

  // What the source's next record carries as the attribute "Instance".
  static std::optional<std::string> instance_of(const Source& source) {
    auto record = source.logger().open_record(boost::log::keywords::severity = severity_level::info);
    const auto instance = boost::log::extract<std::string>("Instance", record);
    return instance ? std::optional(instance.get()) : std::nullopt;
  }

  std::string evaluated_text() {
    ++evaluations;
    return "text";
  }

  Captured_Log log;
  Source source;
  int evaluations = 0;
};

TEST_F(LogSource, GivesEveryRecordItsChannelAndTheSeverityOfTheStatement) {
  source.init_("A_Class", "");

  ZANT_LOG(source, severity_level::trace) << "First";
  ZANT_LOG(source, severity_level::fatal) << "Second";

  EXPECT_THAT(log.records(),
              ElementsAre(Captured_Record{0, "A_Class", "First"}, Captured_Record{6, "A_Class", "Second"}));
}

TEST_F(LogSource, WritesOneRecordPerStatementFromAllItsParts) {
  source.init_("A_Class", "");

  ZANT_LOG(source, severity_level::notice) << "Copied " << 2 << '/' << 3 << " {}";

  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{3, "A_Class", "Copied 2/3 {}"}));
}

TEST_F(LogSource, AddsNoInstanceForAnEmptySecondString) {
  source.init_("A_Class", "");

  EXPECT_EQ(instance_of(source), std::nullopt);
}

TEST_F(LogSource, AddsASecondStringAsTheInstanceThatSpeaks) {
  source.init_("A_Class", "of the left side");

  EXPECT_EQ(instance_of(source), "of the left side");
}

TEST_F(LogSource, IsRenamedByAnotherInitialisation) {
  source.init_("A_Class", "of the left side");
  source.init_("Another_Class", "");

  ZANT_LOG(source, severity_level::error) << "Text";

  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{5, "Another_Class", "Text"}));
  EXPECT_EQ(instance_of(source), std::nullopt);
}

TEST_F(LogSource, IsCopiedWithItsChannelAndInstance) {
  source.init_("A_Class", "of the left side");
  const Source copy = source;

  ZANT_LOG(copy, severity_level::error) << "Text";

  EXPECT_THAT(log.records(), ElementsAre(Captured_Record{5, "A_Class", "Text"}));
  EXPECT_EQ(instance_of(copy), "of the left side");
}

TEST_F(LogSource, EvaluatesTheStatementOnceWhileLoggingIsEnabled) {
  source.init_("A_Class", "");

  ZANT_LOG(source, severity_level::error) << evaluated_text();

  EXPECT_EQ(evaluations, 1);
}

TEST_F(LogSource, DoesAndEvaluatesNothingWhileTheCoreIsDisabled) {
  source.init_("A_Class", "");
  boost::log::core::get()->set_logging_enabled(false);

  ZANT_LOG(source, severity_level::fatal) << evaluated_text();

  EXPECT_EQ(evaluations, 0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(LogSource, EvaluatesNothingOfARecordThatTheCoreFiltersOut) {
  source.init_("A_Class", "");
  boost::log::core::get()->set_filter(boost::log::expressions::attr<severity_level>("Severity") >=
                                      severity_level::error);

  ZANT_LOG(source, severity_level::warning) << evaluated_text();

  EXPECT_EQ(evaluations, 0);
  EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace
