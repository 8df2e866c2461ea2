#include <zant/velmora_host/reports/failure_document.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host {
namespace {

TEST(FailureDocument, NamesTheReasonForPrograms) {
  const auto document = nlohmann::json::parse(failure_document("check", "no_rights", 77, {"run it as root"}));

  EXPECT_EQ(document,
            nlohmann::json(
                {{"format", "package-minder/check"},
                 {"version", 1},
                 {"error", {{"code", "no_rights"}, {"exit_status", 77}, {"messages", {"run it as root"}}}}}));
}

}  // namespace
}  // namespace zant::velmora_host
