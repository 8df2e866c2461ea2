#include <zant/velmora_host/families/dnf/repository_answer.hpp>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace zant::velmora_host::dnf_outlook {
namespace {

TEST(DnfRepositoryAnswer, IsSortedByItsWords) {
  const std::pair<const char*, const char*> answers[] = {
      {"Curl error (6): Couldn't resolve host name for http://x/repodata/repomd.xml", "server.name_unknown"},
      {"Curl error (7): Couldn't connect to server", "server.unreachable"},
      {"Curl error (28): Timeout was reached", "server.silent"},
      {"Curl error (60): SSL peer certificate or SSH remote key was not OK", "server.certificate_refused"},
      {"Curl error (35): SSL connect error", "server.tls_failed"},
      {"Curl error (5): Couldn't resolve proxy name", "proxy.unreachable"},
      {"Curl error (56): Failure when receiving data [Received HTTP code 403 from proxy after CONNECT]",
       "proxy.unreachable"},
      {"Status code: 404 for http://x/repodata/repomd.xml", "repository.not_found"},
      {"Status code: 403 for http://x", "repository.access_denied"},
      {"Status code: 503 for http://x", "server.failing"},
      {"repomd.xml GPG signature verification error: Bad GPG signature", "repository.signature_refused"},
      {"Downloading successful, but checksum doesn't match", "repository.inconsistent"},
      {"\xff", "server.unreachable"},
      {"", "server.unreachable"},
  };
  for (const auto& [words, code] : answers) {
    EXPECT_EQ(cause_of_answer(words, "http://x").code, code) << words;
  }
}

TEST(DnfRepositoryAnswer, BlocksOnlyWhenTheServerAnswered) {
  EXPECT_EQ(cause_of_answer("Status code: 404", "http://x").effect, Cause_Effect::BLOCKS);
  EXPECT_EQ(cause_of_answer("Curl error (7)", "http://x").effect, Cause_Effect::OBSCURES);
  EXPECT_EQ(cause_of_answer("Curl error (7)", "http://x").evidence, "http://x: Curl error (7)");
}

TEST(DnfRepositoryAnswer, IsAboutTheNetworkOrNot) {
  EXPECT_TRUE(speaks_of_network("Error: Failed to download metadata for repo 'baseos'"));
  EXPECT_FALSE(speaks_of_network("Error: GPG check FAILED"));
}

}  // namespace
}  // namespace zant::velmora_host::dnf_outlook
