#pragma once

#include <zant/velmora_host/services/temporary_directory.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace zant::velmora_host::test_support {

/// A service manager that listens for as long as it lives.
class Notification_Socket {
 public:
  Notification_Socket() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = (directory_.path() / "notify").string();
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
      ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
    }
  }
  ~Notification_Socket() {
    ::unsetenv("NOTIFY_SOCKET");
    ::close(socket_);
  }
  Notification_Socket(const Notification_Socket&) = delete;
  Notification_Socket& operator=(const Notification_Socket&) = delete;

  /// The next message that has come, or an empty text.
  std::string next_message() const {
    std::array<char, 4096> buffer{};
    const ssize_t size = ::recv(socket_, buffer.data(), buffer.size(), 0);
    return {buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
  }

  /// All messages that have come, in order.
  std::vector<std::string> messages() const {
    std::vector<std::string> messages;
    for (std::string message = next_message(); !message.empty(); message = next_message()) {
      messages.push_back(message);
    }
    return messages;
  }

 private:
  Temporary_Directory directory_;
  int socket_;
};

}  // namespace zant::velmora_host::test_support
