#include <zant/velmora/package_minder/errors.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>

// Built twice: into the unit tests, and into a program that knows the library only from outside.

using namespace zant::velmora;

namespace {

using Root_Tag = Velmora_Error<std::exception>;
using Backend_Tag = Backend_Error<std::exception>;
using Internal_Tag = Internal_Error<std::exception>;

// A static cast down is possible from every base but a virtual one.
template <typename Base, typename Derived>
constexpr bool IS_VIRTUAL_BASE =
    std::is_base_of_v<Base, Derived>&& std::is_convertible_v<Derived*, Base*> && !requires(Base * base) {
  static_cast<Derived*>(base);
};

// The tags are no standard exceptions: else an error would hold two of them, and catching by the standard
// class would be ambiguous.
static_assert(!std::is_base_of_v<std::exception, Root_Tag>);
static_assert(!std::is_base_of_v<std::exception, Backend_Tag>);
static_assert(!std::is_base_of_v<std::exception, Internal_Tag>);

static_assert(IS_VIRTUAL_BASE<Root_Tag, Velmora_Error<std::runtime_error>>);
static_assert(IS_VIRTUAL_BASE<Root_Tag, Velmora_Error<std::logic_error>>);
static_assert(IS_VIRTUAL_BASE<Root_Tag, Backend_Tag>);
static_assert(IS_VIRTUAL_BASE<Root_Tag, Internal_Tag>);

static_assert(std::has_virtual_destructor_v<Root_Tag>);
static_assert(sizeof(Root_Tag) == 2 * sizeof(void*), "the code beside the pointer to the virtual table");
static_assert(std::is_same_v<decltype(std::declval<const Root_Tag&>().code()), std::int32_t>);

template <typename Handler, typename Thrower>
bool caught_as(Thrower thrower) {
  try {
    thrower();
  } catch (const Handler&) {
    return true;
  } catch (...) {
  }
  return false;
}

template <typename Error, typename Thrower>
void expect_message_and_code(Thrower thrower, const std::string& message, std::int32_t code) {
  try {
    thrower();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Error& error) {
    EXPECT_EQ(error.what(), message);
    EXPECT_EQ(error.code(), code);
  }
}

void fail_host_step() {
  throw_host_step_failed("Failed to start upgrade timer");
}

void break_invariant() {
  throw_broken_invariant("Invalid init value");
}

void refuse_request() {
  throw_unservable_request("Invalid package configuration");
}

TEST(ErrorFamily, ThrowsAFailedHostStepWithItsMessageAndMinusTwo) {
  expect_message_and_code<Internal_Error<std::runtime_error>>(fail_host_step, "Failed to start upgrade timer",
                                                              -2);
}

TEST(ErrorFamily, ThrowsABrokenInvariantWithItsMessageAndMinusTwo) {
  expect_message_and_code<Internal_Error<std::logic_error>>(break_invariant, "Invalid init value", -2);
}

TEST(ErrorFamily, ThrowsAnUnservableRequestWithItsMessageAnd204800) {
  expect_message_and_code<Backend_Error<std::runtime_error>>(refuse_request, "Invalid package configuration",
                                                             204800);
}

TEST(ErrorFamily, LetsAFailedHostStepBeCaughtByEachTagAndEachStandardClass) {
  EXPECT_TRUE(caught_as<Internal_Error<std::runtime_error>>(fail_host_step));
  EXPECT_TRUE(caught_as<Velmora_Error<std::runtime_error>>(fail_host_step));
  EXPECT_TRUE(caught_as<Internal_Tag>(fail_host_step));
  EXPECT_TRUE(caught_as<Root_Tag>(fail_host_step));
  EXPECT_TRUE(caught_as<std::runtime_error>(fail_host_step));
  EXPECT_TRUE(caught_as<std::exception>(fail_host_step));
}

TEST(ErrorFamily, LetsABrokenInvariantBeCaughtByEachTagAndEachStandardClass) {
  EXPECT_TRUE(caught_as<Internal_Error<std::logic_error>>(break_invariant));
  EXPECT_TRUE(caught_as<Velmora_Error<std::logic_error>>(break_invariant));
  EXPECT_TRUE(caught_as<Internal_Tag>(break_invariant));
  EXPECT_TRUE(caught_as<Root_Tag>(break_invariant));
  EXPECT_TRUE(caught_as<std::logic_error>(break_invariant));
  EXPECT_TRUE(caught_as<std::exception>(break_invariant));
}

TEST(ErrorFamily, LetsAnUnservableRequestBeCaughtByEachTagAndEachStandardClass) {
  EXPECT_TRUE(caught_as<Backend_Error<std::runtime_error>>(refuse_request));
  EXPECT_TRUE(caught_as<Velmora_Error<std::runtime_error>>(refuse_request));
  EXPECT_TRUE(caught_as<Backend_Tag>(refuse_request));
  EXPECT_TRUE(caught_as<Root_Tag>(refuse_request));
  EXPECT_TRUE(caught_as<std::runtime_error>(refuse_request));
  EXPECT_TRUE(caught_as<std::exception>(refuse_request));
}

TEST(ErrorFamily, TellsItsBranchesApart) {
  EXPECT_FALSE(caught_as<Backend_Tag>(fail_host_step));
  EXPECT_FALSE(caught_as<std::logic_error>(fail_host_step));
  EXPECT_FALSE(caught_as<Backend_Tag>(break_invariant));
  EXPECT_FALSE(caught_as<std::runtime_error>(break_invariant));
  EXPECT_FALSE(caught_as<Internal_Tag>(refuse_request));
  EXPECT_FALSE(caught_as<std::logic_error>(refuse_request));
}

TEST(ErrorFamily, HoldsOneCodeHoweverItIsReached) {
  const Internal_Error<std::runtime_error> error("message", 7);

  const Root_Tag& through_the_message = static_cast<const Velmora_Error<std::runtime_error>&>(error);
  const Root_Tag& through_the_tag = static_cast<const Internal_Tag&>(error);

  EXPECT_EQ(&through_the_message, &through_the_tag);
  EXPECT_EQ(through_the_message.code(), 7);
}

TEST(ErrorFamily, KeepsTheCodeOfTheConcreteClass) {
  EXPECT_EQ((Internal_Error<std::runtime_error>("message", 1).code()), 1);
  EXPECT_EQ((Internal_Error<std::logic_error>("message", 2).code()), 2);
  EXPECT_EQ((Backend_Error<std::runtime_error>("message", 3).code()), 3);
  EXPECT_EQ((Velmora_Error<std::runtime_error>("message", 4).code()), 4);
  EXPECT_EQ((Velmora_Error<std::logic_error>("message", 5).code()), 5);
  EXPECT_EQ(Internal_Tag(6).code(), 6);
  EXPECT_EQ(Backend_Tag(7).code(), 7);
  EXPECT_EQ(Root_Tag(8).code(), 8);
}

TEST(ErrorFamily, TakesItsMessageAsATextOfEitherKind) {
  const std::string text = "a text with {} in it";

  EXPECT_EQ((Internal_Error<std::runtime_error>(text, -2).what()), text);
  EXPECT_EQ((Internal_Error<std::runtime_error>("a text with {} in it", -2).what()), text);
  EXPECT_EQ((Internal_Error<std::logic_error>(text, -2).what()), text);
  EXPECT_EQ((Internal_Error<std::logic_error>("a text with {} in it", -2).what()), text);
  EXPECT_EQ((Backend_Error<std::runtime_error>(text, 204800).what()), text);
  EXPECT_EQ((Backend_Error<std::runtime_error>("a text with {} in it", 204800).what()), text);
  EXPECT_EQ((Velmora_Error<std::runtime_error>(text, -2).what()), text);
  EXPECT_EQ((Velmora_Error<std::logic_error>("a text with {} in it", -2).what()), text);
}

TEST(ErrorFamily, IsCopiedWithMessageAndCode) {
  const Internal_Error<std::logic_error> error("message", 7);
  const Internal_Error<std::logic_error> copy = error;

  EXPECT_STREQ(copy.what(), "message");
  EXPECT_EQ(copy.code(), 7);
}

TEST(ErrorFamily, NamesTheTwoCodesInUse) {
  EXPECT_EQ(Error_Code::INTERNAL, -2);
  EXPECT_EQ(Error_Code::BACKEND, 204800);
}

}  // namespace
