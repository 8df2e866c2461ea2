#include <zant/velmora_host/settings/reference_expansion.hpp>

#include <utility>

namespace zant::velmora_host {
namespace {

constexpr const char* BEGIN = "${";
constexpr char END = '}';

// The text from a position on up to a reference, and the key that the reference names.
struct Piece {
  std::string text;
  std::string key;
  bool has_reference = false;
  std::size_t next = 0;  // where the rest begins
};

Piece next_piece(const std::string& value, std::size_t from) {
  const std::size_t begin = value.find(BEGIN, from);
  if (begin == std::string::npos) {
    return {value.substr(from), "", false, value.size()};
  }
  const std::size_t key = begin + 2;
  const std::size_t end = value.find(END, key);
  if (end == std::string::npos) {
    return {value.substr(from), "", false, value.size()};
  }
  return {value.substr(from, begin - from), value.substr(key, end - key), true, end + 1};
}

}  // namespace

Reference_Expansion::Reference_Expansion(std::map<std::string, std::string> values)
    : values_(std::move(values)) {}

const Reference_Expansion::Result& Reference_Expansion::expand(const std::string& key) {
  if (const auto known = results_.find(key); known != results_.end()) {
    return known->second;
  }
  if (!in_work_.insert(key).second) {
    static const Result circle{"", Fault::CIRCLE};
    return circle;
  }
  Result result = expand_value_(values_.at(key));
  in_work_.erase(key);
  // Poco expands what it hands out. It must not find more than was judged.
  if (result.fault == Fault::NONE && has_reference_(result.value)) {
    result.fault = Fault::HIDDEN;
  }
  return results_.emplace(key, std::move(result)).first->second;
}

Reference_Expansion::Result Reference_Expansion::expand_value_(const std::string& value) {
  Result result;
  for (std::size_t position = 0; position < value.size() && result.fault == Fault::NONE;) {
    const Piece piece = next_piece(value, position);
    position = piece.next;
    result.value += piece.text;
    if (piece.has_reference && values_.contains(piece.key)) {
      const Result& referred = expand(piece.key);
      result.value += referred.value;
      result.fault = referred.fault;
    } else if (piece.has_reference) {
      result.value += BEGIN + piece.key + END;
    }
    if (result.value.size() > LONGEST_VALUE) {
      result.value.resize(LONGEST_VALUE);
      result.fault = Fault::TOO_LONG;
    }
  }
  return result;
}

bool Reference_Expansion::has_reference_(const std::string& value) const {
  for (std::size_t position = 0; position < value.size();) {
    const Piece piece = next_piece(value, position);
    position = piece.next;
    if (piece.has_reference && values_.contains(piece.key)) {
      return true;
    }
  }
  return false;
}

}  // namespace zant::velmora_host
