#include <standalone_host/reports/document.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zant::velmora::standalone_host::Document {
namespace {

TEST(Document, SaysFirstWhatItIs) {
  EXPECT_EQ(text_of(make("status")), "{\n  \"format\": \"package-minder/status\",\n  \"version\": 1\n}\n");
}

TEST(Document, StaysValidWhateverBytesItHolds) {
  auto document = make("plan");
  document["text"] = "broken \xff\xfe bytes";

  EXPECT_TRUE(Json::accept(text_of(document)));
}

TEST(Document, NamesTheReasonOfAFailureForPrograms) {
  const auto error = make_failure("check", 77, {"run it as root"}).at("error");

  EXPECT_EQ(error.at("code"), "no_rights");
  EXPECT_EQ(error.at("exit_status"), 77);
  EXPECT_EQ(error.at("messages"), Json({"run it as root"}));
}

TEST(Document, HasAReasonForEachExitStatus) {
  const auto code_of = [](int status) { return make_failure("plan", status, {}).at("error").at("code"); };

  EXPECT_EQ(code_of(1), "failed");
  EXPECT_EQ(code_of(64), "wrong_usage");
  EXPECT_EQ(code_of(69), "unsupported_host");
  EXPECT_EQ(code_of(75), "busy");
  EXPECT_EQ(code_of(78), "bad_settings");
}

}  // namespace
}  // namespace zant::velmora::standalone_host::Document
