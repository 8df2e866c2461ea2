#pragma once

#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <condition_variable>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <string>
#include <vector>

namespace zant::velmora::test_support {

/// One log record as the system wrote it.
struct Captured_Record {
  int severity;
  std::string channel;
  std::string message;

  bool operator==(const Captured_Record&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Captured_Record& record);

/// Collects every log record of the process while it lives; nothing else receives them meanwhile.
class Captured_Log {
 public:
  Captured_Log();
  ~Captured_Log();
  Captured_Log(const Captured_Log&) = delete;
  Captured_Log& operator=(const Captured_Log&) = delete;

  /// The records so far, in order.
  std::vector<Captured_Record> records() const;

  /// The messages of one severity so far, in order.
  std::vector<std::string> messages(int severity) const;

  /// Blocks until that many records of that text have been written.
  void wait_for(const std::string& message, std::size_t count = 1) const;

  /// Called inside the writing of each record, on the thread that writes it. Set before that thread runs.
  void on_record(std::function<void(const Captured_Record&)> observer);

 private:
  class Backend;
  using Sink = boost::log::sinks::synchronous_sink<Backend>;

  boost::shared_ptr<Backend> backend_;
  boost::shared_ptr<Sink> sink_;
};

}  // namespace zant::velmora::test_support
