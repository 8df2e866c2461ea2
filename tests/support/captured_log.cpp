#include <support/captured_log.hpp>

#include <zant/logging/severity_level.hpp>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

#include <algorithm>
#include <ostream>
#include <utility>

namespace zant::velmora::test_support {

std::ostream& operator<<(std::ostream& stream, const Captured_Record& record) {
  return stream << '{' << record.severity << ", " << record.channel << ", " << record.message << '}';
}

class Captured_Log::Backend
    : public boost::log::sinks::basic_sink_backend<boost::log::sinks::concurrent_feeding> {
 public:
  void consume(const boost::log::record_view& view) {
    Captured_Record record;
    record.severity =
        static_cast<int>(boost::log::extract<zant::logging::severity_level>("Severity", view).get());
    record.channel = boost::log::extract<std::string>("Channel", view).get();
    record.message = boost::log::extract<std::string>("Message", view).get();
    if (observer_) {
      observer_(record);
    }
    const std::lock_guard lock(mutex_);
    records_.push_back(std::move(record));
    arrived_.notify_all();
  }

  std::vector<Captured_Record> records() const {
    const std::lock_guard lock(mutex_);
    return records_;
  }

  void wait_for(const std::string& message, std::size_t count) const {
    std::unique_lock lock(mutex_);
    arrived_.wait(lock, [this, &message, count] {
      const auto written =
          std::count_if(records_.begin(), records_.end(),
                        [&message](const Captured_Record& record) { return record.message == message; });
      return static_cast<std::size_t>(written) >= count;
    });
  }

  void on_record(std::function<void(const Captured_Record&)> observer) { observer_ = std::move(observer); }

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable arrived_;
  std::vector<Captured_Record> records_;
  std::function<void(const Captured_Record&)> observer_;
};

Captured_Log::Captured_Log()
    : backend_(boost::make_shared<Backend>()), sink_(boost::make_shared<Sink>(backend_)) {
  boost::log::core::get()->add_sink(sink_);
}

Captured_Log::~Captured_Log() {
  boost::log::core::get()->remove_sink(sink_);
}

std::vector<Captured_Record> Captured_Log::records() const {
  return backend_->records();
}

std::vector<std::string> Captured_Log::messages(int severity) const {
  std::vector<std::string> texts;
  for (const auto& record : backend_->records()) {
    if (record.severity == severity) {
      texts.push_back(record.message);
    }
  }
  return texts;
}

void Captured_Log::wait_for(const std::string& message, std::size_t count) const {
  backend_->wait_for(message, count);
}

void Captured_Log::on_record(std::function<void(const Captured_Record&)> observer) {
  backend_->on_record(std::move(observer));
}

}  // namespace zant::velmora::test_support
