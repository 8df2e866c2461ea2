#include <zant/velmora/file_generation/template_manager.hpp>

#include <support/recorded_host.hpp>
#include <support/throws_error.hpp>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace zant::velmora;
using test_support::expect_host_step_failed;
using test_support::Fake_Filesystem;
using test_support::Recorded_Host;
using testing::ElementsAre;

namespace {

class TemplateManager : public testing::Test {
 protected:
  void add_template(const std::string& name, const std::string& text) {
    host.files->add_file("/staging/templates/" + name + ".template", text);
  }

  Template_Manager make_manager() const { return Template_Manager(host.files, "/staging"); }

  const std::string value = "value";
  Recorded_Host host;
};

TEST_F(TemplateManager, ListsTheTemplatesOnceAtConstruction) {
  add_template("a.conf", "text");

  make_manager();

  EXPECT_THAT(host.take_journal(), ElementsAre("list_files /staging/templates .template"));
}

TEST_F(TemplateManager, RendersATemplateIntoTheStagingDirectoryUnderItsName) {
  add_template("a.conf", "one {} only\n");
  const auto manager = make_manager();
  host.take_journal();

  manager.generate_file("a.conf", value);

  EXPECT_THAT(host.take_journal(), ElementsAre("read_file /staging/templates/a.conf.template (0)",
                                               "write_file /staging/a.conf (0)"));
  EXPECT_EQ(host.files->contents("/staging/a.conf"), "one value only\n");
}

TEST_F(TemplateManager, NamesATemplateByItsFileNameWithoutTheLastExtension) {
  add_template("a.conf", "{}");
  add_template("b", "{}");
  const auto manager = make_manager();

  manager.generate_file("a.conf", value);
  manager.generate_file("b", value);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "value");
  EXPECT_EQ(host.files->contents("/staging/b"), "value");
}

TEST_F(TemplateManager, KeepsWhatLooksLikeTheExtensionInsideAName) {
  add_template("a.template.conf", "{}");

  make_manager().generate_file("a.template.conf", value);

  EXPECT_EQ(host.files->contents("/staging/a.template.conf"), "value");
}

TEST_F(TemplateManager, DoesNotKnowAFileWithAnotherExtension) {
  host.files->add_file("/staging/templates/a.conf", "{}");
  host.files->add_file("/staging/templates/b.conf.templates", "{}");
  const auto manager = make_manager();

  EXPECT_THROW(manager.generate_file("a", value), std::out_of_range);
  EXPECT_THROW(manager.generate_file("a.conf", value), std::out_of_range);
  EXPECT_THROW(manager.generate_file("b.conf", value), std::out_of_range);
}

TEST_F(TemplateManager, ThrowsForAnUnknownTemplateAndTouchesNothing) {
  add_template("a.conf", "{}");
  const auto manager = make_manager();
  host.take_journal();

  try {
    manager.generate_file("b.conf", value);
    FAIL() << "nothing was thrown";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "map::at");
  }
  EXPECT_THAT(host.take_journal(), testing::IsEmpty());
}

TEST_F(TemplateManager, DoesNotSeeATemplateThatIsAddedLater) {
  const auto manager = make_manager();
  add_template("a.conf", "{}");

  EXPECT_THROW(manager.generate_file("a.conf", value), std::out_of_range);
}

TEST_F(TemplateManager, ReadsTheTemplateAfreshForEveryFile) {
  add_template("a.conf", "first {}");
  const auto manager = make_manager();
  add_template("a.conf", "second {}");

  manager.generate_file("a.conf", value);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "second value");
}

class Filesystem_With_Two_Template_Directories : public Fake_Filesystem {
 public:
  std::vector<Path> list_files(const Path&, const std::string&) override {
    return {"/second/a.conf.template", "/first/a.conf.template"};
  }
};

TEST_F(TemplateManager, TakesTheFirstOfTwoTemplatesOfOneName) {
  const auto files = std::make_shared<Filesystem_With_Two_Template_Directories>();
  files->add_file("/first/a.conf.template", "listed second {}");
  files->add_file("/second/a.conf.template", "listed first {}");
  files->add_directory("/staging");

  Template_Manager(files, "/staging").generate_file("a.conf", value);

  EXPECT_EQ(files->contents("/staging/a.conf"), "listed first value");
}

TEST_F(TemplateManager, OverwritesTheEarlierOutput) {
  add_template("a.conf", "{}");
  const auto manager = make_manager();
  const std::string later_value = "later";

  manager.generate_file("a.conf", value);
  manager.generate_file("a.conf", later_value);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "later");
}

TEST_F(TemplateManager, InsertsAValueWithBracesVerbatim) {
  add_template("a.conf", "[{}]");
  const std::string braces = "{} {0} {{ }} {";

  make_manager().generate_file("a.conf", braces);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "[{} {0} {{ }} {]");
}

TEST_F(TemplateManager, WritesADoubledBraceAsOne) {
  add_template("a.conf", "list {{ {} }};");

  make_manager().generate_file("a.conf", value);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "list { value };");
}

TEST_F(TemplateManager, CopiesEverythingElseUnchanged) {
  add_template("a.conf", " \t# 100 % \"of\" $VALUE\\n\r\n\xc3\xa4 {} \n\n");

  make_manager().generate_file("a.conf", value);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), " \t# 100 % \"of\" $VALUE\\n\r\n\xc3\xa4 value \n\n");
}

TEST_F(TemplateManager, RendersAnEmptyTemplateAsAnEmptyFile) {
  add_template("a.conf", "");

  make_manager().generate_file("a.conf", value);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "");
}

TEST_F(TemplateManager, InsertsANumber) {
  add_template("a.conf", "limit \"{}\"");
  const int number = 500;

  make_manager().generate_file("a.conf", number);

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "limit \"500\"");
}

TEST_F(TemplateManager, InsertsSeveralValuesInPlaceholderOrder) {
  add_template("three", "{}-{}-{}");
  add_template("five", "{}-{}-{}-{}-{}");
  const auto manager = make_manager();
  const std::string a = "a", b = "b", c = "c", d = "d", e = "e";

  manager.generate_file("three", a, b, c);
  manager.generate_file("five", a, b, c, d, e);

  EXPECT_EQ(host.files->contents("/staging/three"), "a-b-c");
  EXPECT_EQ(host.files->contents("/staging/five"), "a-b-c-d-e");
}

TEST_F(TemplateManager, LetsATemplatePickItsValuesByPosition) {
  add_template("a.list", "deb [arch={2}] {0} {1} main");
  const std::string url = "https://x/", channel = "stable", architecture = "amd64";

  make_manager().generate_file("a.list", url, channel, architecture);

  EXPECT_EQ(host.files->contents("/staging/a.list"), "deb [arch=amd64] https://x/ stable main");
}

TEST_F(TemplateManager, PassesTheErrorOfAMalformedTemplateOnAndWritesNothing) {
  for (const char* text : {"{", "}", "{} }", "{} {}", "{1}", "{name}"}) {
    add_template("a.conf", text);

    EXPECT_THROW(make_manager().generate_file("a.conf", value), fmt::format_error) << text;
    EXPECT_FALSE(host.files->has("/staging/a.conf")) << text;
  }
}

TEST_F(TemplateManager, ThrowsWhenTheFileCannotBeWritten) {
  add_template("a.conf", "{}");
  host.files->add_file("/staging/a.conf", "earlier");
  host.files->fail("write_file /staging/a.conf (0)");

  expect_host_step_failed([this] { make_manager().generate_file("a.conf", value); },
                          "Failed to generate file from template: a.conf");

  EXPECT_EQ(host.files->contents("/staging/a.conf"), "earlier");
}

TEST_F(TemplateManager, DoesNotRetryAFailedWrite) {
  add_template("a.conf", "{}");
  const auto manager = make_manager();
  host.files->fail("write_file /staging/a.conf (0)");
  host.take_journal();

  EXPECT_THROW(manager.generate_file("a.conf", value), std::runtime_error);

  EXPECT_THAT(host.take_journal(), ElementsAre("read_file /staging/templates/a.conf.template (0)",
                                               "write_file /staging/a.conf (0)"));
}

TEST_F(TemplateManager, LetsAnExceptionOfTheFileServiceThrough) {
  add_template("a.conf", "{}");
  host.files->during("write_file /staging/a.conf (0)", [] { throw std::domain_error("no disk"); });

  EXPECT_THROW(make_manager().generate_file("a.conf", value), std::domain_error);
}

}  // namespace
