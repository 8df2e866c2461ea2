#pragma once

#include <zant/logging/export.hpp>
#include <zant/logging/severity_level.hpp>

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>

#include <string>

namespace zant::logging {

/// Where the records of one object come from: a channel, usually the name of the owning class, and optionally
/// the instance that speaks.
///
/// A class that logs owns a source as its first member and calls `init_` in its constructor. Records go to
/// the process-wide Boost.Log core; sinks are set up by programs, never by libraries. Copying a source gives
/// a second one with the same channel and instance.
///
/// Concurrent logging through one source is safe once `init_` has returned; `init_` itself is not to be
/// called while another thread logs through the same source.
class ZANT_LOGGING_EXPORT Source {
 public:
  using Logger = boost::log::sources::severity_channel_logger<severity_level>;

  Source() = default;

  /// Names the source. Every record carries `channel` as the attribute "Channel"; a non-empty `instance` is
  /// added as the attribute "Instance", an empty one adds nothing. Calling it again renames the source.
  void init_(const std::string& channel, const std::string& instance);

  /// The logger behind the source; what the logging statement below opens its record with.
  Logger& logger() const noexcept;

 private:
  // Opening a record changes nothing that an owner can see, and const operations log too.
  mutable Logger logger_;
};

}  // namespace zant::logging

/// The one logging statement: `ZANT_LOG(source, severity_level::notice) << "Text " << value;` writes one
/// record. If the logging core is disabled, or filters the record out, nothing of the right-hand side is
/// evaluated and nothing is thrown.
#define ZANT_LOG(source, level) BOOST_LOG_SEV((source).logger(), (level))
