#include <program/log/log_sink.hpp>

#include <program/log/log_format.hpp>
#include <program/platform/log_output.hpp>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/smart_ptr/make_shared_object.hpp>

#include <cstdlib>
#include <string>
#include <string_view>

namespace zant::program {
namespace {

using zant::logging::severity_level;

severity_level severity_of(const boost::log::attribute_value_set& attributes) {
  return boost::log::extract_or_default<severity_level>("Severity", attributes, severity_level::info);
}

Log_Entry entry_of(const boost::log::record_view& record) {
  const auto& attributes = record.attribute_values();
  return {std::chrono::system_clock::now(), severity_of(attributes),
          boost::log::extract_or_default<std::string>("Channel", attributes, std::string("unknown")),
          boost::log::extract_or_default<std::string>("Message", attributes, std::string())};
}

std::string_view environment_variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool is_for_journal(velmora_host::Log_Format format, log_output::Reader reader) {
  return format == velmora_host::Log_Format::JOURNAL ||
         (format == velmora_host::Log_Format::AUTO && reader == log_output::Reader::JOURNAL);
}

// See https://no-color.org for the first variable; the second is a terminal's that has no colours.
bool is_coloured(log_output::Reader reader) {
  return reader == log_output::Reader::TERMINAL && environment_variable("NO_COLOR").empty() &&
         environment_variable("TERM") != "dumb";
}

class Descriptor_Backend
    : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
 public:
  Descriptor_Backend(int descriptor, velmora_host::Log_Format format)
      : descriptor_(descriptor),
        for_journal_(is_for_journal(format, log_output::reader_of(descriptor))),
        with_colour_(is_coloured(log_output::reader_of(descriptor))) {}

  void consume(const boost::log::record_view& record) {
    const Log_Entry entry = entry_of(record);
    log_output::write(descriptor_,
                      for_journal_ ? format_for_journal(entry) : format_for_terminal(entry, with_colour_));
  }

 private:
  int descriptor_;
  bool for_journal_;
  bool with_colour_;
};

}  // namespace

Log_Sink::Log_Sink(int descriptor, velmora_host::Log_Format format, severity_level least_severity) {
  using Frontend = boost::log::sinks::synchronous_sink<Descriptor_Backend>;
  auto frontend = boost::make_shared<Frontend>(boost::make_shared<Descriptor_Backend>(descriptor, format));
  frontend->set_filter([least_severity](const boost::log::attribute_value_set& attributes) {
    return severity_of(attributes) >= least_severity;
  });
  sink_ = frontend;
  boost::log::core::get()->add_sink(sink_);
}

Log_Sink::~Log_Sink() {
  boost::log::core::get()->remove_sink(sink_);
}

}  // namespace zant::program
