#include <zant/velmora_host/settings/address_credentials.hpp>

#include <cstddef>

namespace zant::velmora_host::address_credentials {
namespace {

constexpr auto NOWHERE = std::string::npos;

// Whether what follows a host's colon is no port.
bool is_password(const std::string& text) {
  return text.find_first_not_of("0123456789") != NOWHERE;
}

// Where a user name would begin; nowhere in a text that is no address, such as a path.
std::size_t find_begin(const std::string& text) {
  constexpr std::size_t LENGTH_OF_MARK = 3;
  if (const std::size_t mark = text.find("://"); mark != NOWHERE) {
    return mark + LENGTH_OF_MARK;
  }
  const std::size_t colon = text.find(':');
  return colon != NOWHERE && text.find_first_of("/\\ ") > colon + 1 ? 0 : NOWHERE;
}

}  // namespace

bool are_in(const std::string& address) {
  const std::size_t begin = find_begin(address);
  if (begin == NOWHERE) {
    return false;
  }
  const std::size_t end = address.find_first_of("/?#", begin);
  const std::string host = address.substr(begin, end == NOWHERE ? end : end - begin);
  if (host.find('@') != NOWHERE) {
    return true;
  }
  // The colons of an IPv6 address stand between brackets.
  const std::size_t colon = host.find(':', host.starts_with('[') ? host.find(']') : 0);
  return colon != NOWHERE && is_password(host.substr(colon + 1)) && address.find('@', begin) != NOWHERE;
}

std::string masked(const std::string& text) {
  const std::size_t begin = find_begin(text);
  const std::size_t end = text.rfind('@');
  return begin == NOWHERE || end == NOWHERE || end < begin ? text
                                                           : text.substr(0, begin) + "***" + text.substr(end);
}

}  // namespace zant::velmora_host::address_credentials
