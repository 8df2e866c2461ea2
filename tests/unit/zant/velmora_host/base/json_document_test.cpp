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

}  // namespace
}  // namespace zant::velmora_host::json_document
