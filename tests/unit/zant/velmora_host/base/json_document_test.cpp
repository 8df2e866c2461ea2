#include <zant/velmora_host/base/json_document.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host::json_document {
namespace {

TEST(JsonDocument, SaysFirstWhatItIs) {
  EXPECT_EQ(text_of(make("status")), "{\n  \"format\": \"package-minder/status\",\n  \"version\": 1\n}\n");
}

TEST(JsonDocument, StaysValidWhateverBytesItHolds) {
  auto document = make("plan");
  document["text"] = "broken \xff\xfe bytes";

  EXPECT_TRUE(Json::accept(text_of(document)));
}

TEST(JsonDocument, NamesTheReasonOfAFailureForPrograms) {
  const auto error = make_failure("check", "no_rights", 77, {"run it as root"}).at("error");

  EXPECT_EQ(error.at("code"), "no_rights");
  EXPECT_EQ(error.at("exit_status"), 77);
  EXPECT_EQ(error.at("messages"), Json({"run it as root"}));
}

}  // namespace
}  // namespace zant::velmora_host::json_document
