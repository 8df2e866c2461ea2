#include <zant/velmora_host/services/windows/command_environment.hpp>

#include <zant/velmora_host/services/windows/win32_error.hpp>

#include <boost/nowide/convert.hpp>

#include <windows.h>

#include <memory>

namespace zant::velmora_host {
namespace {

// Names have no case, and CreateProcessW wants them sorted.
struct Name_Order {
  bool operator()(const std::wstring& first, const std::wstring& second) const {
    return ::CompareStringOrdinal(first.c_str(), -1, second.c_str(), -1, TRUE) == CSTR_LESS_THAN;
  }
};

using Variables = std::map<std::wstring, std::wstring, Name_Order>;

Variables own_variables() {
  const std::unique_ptr<wchar_t, decltype(&::FreeEnvironmentStringsW)> block(::GetEnvironmentStringsW(),
                                                                             &::FreeEnvironmentStringsW);
  if (block == nullptr) {
    throw_win32_error("cannot read the environment");
  }
  Variables variables;
  for (const wchar_t* entry = block.get(); *entry != L'\0';) {
    const std::wstring text = entry;
    // The current directories of drives are kept in names that begin with "=".
    const std::size_t separator = text.find(L'=', 1);
    variables[text.substr(0, separator)] = separator == std::wstring::npos ? L"" : text.substr(separator + 1);
    entry += text.size() + 1;
  }
  return variables;
}

}  // namespace

std::wstring make_command_environment(const std::map<std::string, std::string>& additional) {
  Variables variables = own_variables();
  for (const auto& [name, value] : additional) {
    variables[boost::nowide::widen(name)] = boost::nowide::widen(value);
  }
  std::wstring block;
  for (const auto& [name, value] : variables) {
    block += name + L'=' + value + L'\0';
  }
  return block + L'\0';
}

}  // namespace zant::velmora_host
