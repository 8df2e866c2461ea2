#include <zant/velmora/package_minder/errors.hpp>

namespace zant::velmora {

Velmora_Error<std::exception>::~Velmora_Error() = default;
Backend_Error<std::exception>::~Backend_Error() = default;
Internal_Error<std::exception>::~Internal_Error() = default;

template <class Base>
Velmora_Error<Base>::Velmora_Error(const char* message, std::int32_t code)
    : Velmora_Error<std::exception>(code), Base(message) {}

template <class Base>
Velmora_Error<Base>::Velmora_Error(const std::string& message, std::int32_t code)
    : Velmora_Error<std::exception>(code), Base(message) {}

template <class Base>
Backend_Error<Base>::Backend_Error(const char* message, std::int32_t code)
    : Velmora_Error<std::exception>(code),
      Velmora_Error<Base>(message, code),
      Backend_Error<std::exception>(code) {}

template <class Base>
Backend_Error<Base>::Backend_Error(const std::string& message, std::int32_t code)
    : Backend_Error(message.c_str(), code) {}

template <class Base>
Internal_Error<Base>::Internal_Error(const char* message, std::int32_t code)
    : Velmora_Error<std::exception>(code),
      Velmora_Error<Base>(message, code),
      Internal_Error<std::exception>(code) {}

template <class Base>
Internal_Error<Base>::Internal_Error(const std::string& message, std::int32_t code)
    : Internal_Error(message.c_str(), code) {}

template class Velmora_Error<std::runtime_error>;
template class Velmora_Error<std::logic_error>;
template class Backend_Error<std::runtime_error>;
template class Internal_Error<std::runtime_error>;
template class Internal_Error<std::logic_error>;

void throw_host_step_failed(const std::string& message) {
  throw Internal_Error<std::runtime_error>(message, Error_Code::INTERNAL);
}

void throw_broken_invariant(const std::string& message) {
  throw Internal_Error<std::logic_error>(message, Error_Code::INTERNAL);
}

void throw_unservable_request(const std::string& message) {
  throw Backend_Error<std::runtime_error>(message, Error_Code::BACKEND);
}

}  // namespace zant::velmora
