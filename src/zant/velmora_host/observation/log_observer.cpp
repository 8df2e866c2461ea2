#include <zant/velmora_host/observation/log_observer.hpp>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/unlocked_frontend.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

#include <utility>

namespace zant::velmora_host {
namespace {

using zant::logging::severity_level;

severity_level severity_of(const boost::log::attribute_value_set& attributes) {
  return boost::log::extract_or_default<severity_level>("Severity", attributes, severity_level::info);
}

std::string text_of(const char* name, const boost::log::attribute_value_set& attributes) {
  return boost::log::extract_or_default<std::string>(name, attributes, std::string());
}

class Handing_Backend : public boost::log::sinks::basic_sink_backend<boost::log::sinks::concurrent_feeding> {
 public:
  explicit Handing_Backend(Log_Observer::Handler handler) : handler_(std::move(handler)) {}

  void consume(const boost::log::record_view& record) {
    const auto& attributes = record.attribute_values();
    handler_({severity_of(attributes), text_of("Channel", attributes), text_of("Message", attributes)});
  }

 private:
  Log_Observer::Handler handler_;
};

}  // namespace

Log_Observer::Log_Observer(severity_level least_severity, Handler handler) {
  using Frontend = boost::log::sinks::unlocked_sink<Handing_Backend>;
  auto frontend = boost::make_shared<Frontend>(boost::make_shared<Handing_Backend>(std::move(handler)));
  frontend->set_filter([least_severity](const boost::log::attribute_value_set& attributes) {
    return severity_of(attributes) >= least_severity;
  });
  sink_ = frontend;
  boost::log::core::get()->add_sink(sink_);
}

Log_Observer::~Log_Observer() {
  boost::log::core::get()->remove_sink(sink_);
}

}  // namespace zant::velmora_host
