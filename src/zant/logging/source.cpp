#include <zant/logging/source.hpp>

#include <boost/log/attributes/constant.hpp>

namespace zant::logging {

void Source::init_(const std::string& channel, const std::string& instance) {
  logger_ = Logger(boost::log::keywords::channel = channel);
  if (!instance.empty()) {
    logger_.add_attribute("Instance", boost::log::attributes::constant<std::string>(instance));
  }
}

Source::Logger& Source::logger() const noexcept {
  return logger_;
}

}  // namespace zant::logging
