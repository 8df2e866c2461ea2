#pragma once

#include <zant/velmora/export.hpp>

#include <concepts>
#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>

namespace zant::velmora {

/// The error family. Every failure that the library itself reports is thrown by value as a
/// `Backend_Error<std::runtime_error>`, an `Internal_Error<std::runtime_error>` or an
/// `Internal_Error<std::logic_error>`. A handler catches either by tag (the `std::exception` instances, which
/// are no standard exceptions themselves) or by standard class; `what()` is the message of the standard base.
///
/// Exceptions of the standard library, of the dependencies and of the host's services are not wrapped: they
/// leave the library as they are.
template <class Base>
class Velmora_Error;

/// Tag of a request that cannot be served on this host with these inputs.
template <class Base>
class Backend_Error;

/// Tag of a step that the library performs on the host and that failed, or of a broken invariant.
template <class Base>
class Internal_Error;

/// The standard classes that an error of the family can carry its message in.
template <class Base>
concept Message_Carrier = std::same_as<Base, std::runtime_error> || std::same_as<Base, std::logic_error>;

/// Root tag of every error of the library; holds the error code.
template <>
class PACKAGE_MINDER_EXPORT Velmora_Error<std::exception> {
 public:
  explicit Velmora_Error(std::int32_t code) noexcept : code_(code) {}
  Velmora_Error(const Velmora_Error&) = default;
  Velmora_Error& operator=(const Velmora_Error&) = default;
  virtual ~Velmora_Error();

  /// The error code: -2 for every Internal_Error, 204800 for every Backend_Error.
  std::int32_t code() const noexcept { return code_; }

 private:
  std::int32_t code_;
};

/// A library error that carries its message in `Base`. The root tag is a virtual base, so an object holds
/// exactly one code however it is reached.
template <class Base>
class PACKAGE_MINDER_EXPORT Velmora_Error : public Base, public virtual Velmora_Error<std::exception> {
  static_assert(Message_Carrier<Base>);

 public:
  Velmora_Error(const char* message, std::int32_t code);
  Velmora_Error(const std::string& message, std::int32_t code);
};

template <>
class PACKAGE_MINDER_EXPORT Backend_Error<std::exception> : public virtual Velmora_Error<std::exception> {
 public:
  explicit Backend_Error(std::int32_t code) noexcept : Velmora_Error<std::exception>(code) {}
  Backend_Error(const Backend_Error&) = default;
  Backend_Error& operator=(const Backend_Error&) = default;
  ~Backend_Error() override;
};

/// What is thrown when a request cannot be served on this host with these inputs.
template <class Base>
class PACKAGE_MINDER_EXPORT Backend_Error : public Velmora_Error<Base>, public Backend_Error<std::exception> {
  static_assert(std::same_as<Base, std::runtime_error>);

 public:
  Backend_Error(const char* message, std::int32_t code);
  Backend_Error(const std::string& message, std::int32_t code);
};

template <>
class PACKAGE_MINDER_EXPORT Internal_Error<std::exception> : public virtual Velmora_Error<std::exception> {
 public:
  explicit Internal_Error(std::int32_t code) noexcept : Velmora_Error<std::exception>(code) {}
  Internal_Error(const Internal_Error&) = default;
  Internal_Error& operator=(const Internal_Error&) = default;
  ~Internal_Error() override;
};

/// What is thrown when a host step (a command, a file installation) fails (`std::runtime_error`), or when a
/// value is met that cannot be (`std::logic_error`).
template <class Base>
class PACKAGE_MINDER_EXPORT Internal_Error : public Velmora_Error<Base>,
                                             public Internal_Error<std::exception> {
  static_assert(Message_Carrier<Base>);

 public:
  Internal_Error(const char* message, std::int32_t code);
  Internal_Error(const std::string& message, std::int32_t code);
};

// Instantiated once, in the library: one type information and one table per class for every module. Their
// constructors are not inline, because of those a Windows library exports none.
extern template class PACKAGE_MINDER_EXPORT Velmora_Error<std::runtime_error>;
extern template class PACKAGE_MINDER_EXPORT Velmora_Error<std::logic_error>;
extern template class PACKAGE_MINDER_EXPORT Backend_Error<std::runtime_error>;
extern template class PACKAGE_MINDER_EXPORT Internal_Error<std::runtime_error>;
extern template class PACKAGE_MINDER_EXPORT Internal_Error<std::logic_error>;

/// Error codes, as `Velmora_Error<std::exception>::code` returns them. The library never reads one back.
namespace Error_Code {
inline constexpr std::int32_t INTERNAL = -2;
inline constexpr std::int32_t BACKEND = 0x32000;
}  // namespace Error_Code

/// Throws `Internal_Error<std::runtime_error>`: a step on the host failed.
[[noreturn]] PACKAGE_MINDER_EXPORT void throw_host_step_failed(const std::string& message);

/// Throws `Internal_Error<std::logic_error>`: a value that cannot be.
[[noreturn]] PACKAGE_MINDER_EXPORT void throw_broken_invariant(const std::string& message);

/// Throws `Backend_Error<std::runtime_error>`: the request cannot be served.
[[noreturn]] PACKAGE_MINDER_EXPORT void throw_unservable_request(const std::string& message);

}  // namespace zant::velmora
