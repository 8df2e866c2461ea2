#include <zant/velmora_host/staging/openpgp_packets.hpp>

#include <algorithm>

namespace zant::velmora_host::openpgp {
namespace {

// The lengths of new packets and of subpackets: one byte, two, or four behind a mark.
constexpr std::uint32_t FIRST_OF_TWO = 192;
constexpr std::uint32_t FIRST_PARTIAL = 224;
constexpr std::uint32_t FOUR_BYTES_FOLLOW = 255;

// Of a subpacket's type.
constexpr std::uint32_t CRITICAL = 0x80;
namespace Subpacket {
constexpr std::uint32_t CREATED = 2;
constexpr std::uint32_t KEY_LIFETIME = 9;
constexpr std::uint32_t ISSUER_ID = 16;
constexpr std::uint32_t KEY_FLAGS = 27;
constexpr std::uint32_t ISSUER_FINGERPRINT = 33;
}  // namespace Subpacket

std::uint32_t two_byte_length(std::uint32_t first, Byte_Reader& reader) {
  return ((first - FIRST_OF_TWO) << 8U) + reader.number(1) + FIRST_OF_TWO;
}

std::string body_of_new_format(Byte_Reader& reader) {
  std::string body;
  while (reader.is_good()) {
    const std::uint32_t first = reader.number(1);
    if (first >= FIRST_PARTIAL && first < FOUR_BYTES_FOLLOW) {
      body += reader.take(std::size_t{1} << (first - FIRST_PARTIAL));
      continue;
    }
    std::uint32_t length = first;
    if (first == FOUR_BYTES_FOLLOW) {
      length = reader.number(4);
    } else if (first >= FIRST_OF_TWO) {
      length = two_byte_length(first, reader);
    }
    body += reader.take(length);
    break;
  }
  return body;
}

std::string body_of_old_format(std::uint32_t length_type, Byte_Reader& reader) {
  constexpr std::uint32_t UNTIL_THE_END = 3;
  return std::string(length_type == UNTIL_THE_END
                         ? reader.take_rest()
                         : reader.take(reader.number(std::size_t{1} << length_type)));
}

void read_subpacket(std::uint32_t type, std::string_view data, bool is_hashed, Signature& signature) {
  Byte_Reader reader(data);
  if (type == Subpacket::ISSUER_ID && signature.issuer.empty()) {
    signature.issuer = to_hex(data);
  } else if (type == Subpacket::ISSUER_FINGERPRINT && !data.empty()) {
    signature.issuer = to_hex(data.substr(1));  // behind the key's version
  } else if (!is_hashed) {
    return;  // anybody may have added it
  } else if (type == Subpacket::CREATED) {
    signature.created = reader.number(4);
  } else if (type == Subpacket::KEY_LIFETIME) {
    signature.key_lifetime = reader.number(4);
  } else if (type == Subpacket::KEY_FLAGS) {
    signature.key_flags = reader.number(1);
  }
}

bool read_subpackets(std::string_view area, bool is_hashed, Signature& signature) {
  Byte_Reader reader(area);
  while (!reader.is_at_end() && reader.is_good()) {
    const std::uint32_t first = reader.number(1);
    std::uint32_t length = first;
    if (first == FOUR_BYTES_FOLLOW) {
      length = reader.number(4);
    } else if (first >= FIRST_OF_TWO) {
      length = two_byte_length(first, reader);
    }
    Byte_Reader subpacket(reader.take(length));
    const std::uint32_t type = subpacket.number(1) & ~CRITICAL;
    if (!reader.is_good() || !subpacket.is_good()) {
      return false;
    }
    read_subpacket(type, subpacket.take_rest(), is_hashed, signature);
  }
  return reader.is_good();
}

std::optional<Signature> parse_version_3(Byte_Reader& reader) {
  Signature signature;
  reader.number(1);  // the length of what is hashed
  signature.type = static_cast<int>(reader.number(1));
  signature.created = reader.number(4);
  signature.issuer = to_hex(reader.take(8));
  reader.number(1);  // the algorithm
  signature.digest = static_cast<int>(reader.number(1));
  return reader.is_good() ? std::optional(signature) : std::nullopt;
}

}  // namespace

std::uint32_t Byte_Reader::number(std::size_t size) {
  std::uint32_t number = 0;
  for (const char byte : take(size)) {
    number = (number << 8U) | static_cast<unsigned char>(byte);
  }
  return number;
}

std::string_view Byte_Reader::take(std::size_t size) {
  if (size > rest_.size()) {
    is_good_ = false;
    rest_ = {};
    return {};
  }
  const std::string_view taken = rest_.substr(0, size);
  rest_.remove_prefix(size);
  return taken;
}

std::optional<std::vector<Packet>> split_packets(std::string_view bytes) {
  constexpr std::uint32_t IS_PACKET = 0x80;
  constexpr std::uint32_t IS_NEW_FORMAT = 0x40;
  std::vector<Packet> packets;
  Byte_Reader reader(bytes);
  while (!reader.is_at_end()) {
    const std::uint32_t header = reader.number(1);
    if ((header & IS_PACKET) == 0) {
      return std::nullopt;
    }
    const bool is_new = (header & IS_NEW_FORMAT) != 0;
    const std::uint32_t tag = is_new ? header & 0x3FU : (header >> 2U) & 0x0FU;
    std::string body = is_new ? body_of_new_format(reader) : body_of_old_format(header & 3U, reader);
    if (!reader.is_good() || tag == 0) {
      return std::nullopt;
    }
    packets.push_back({static_cast<int>(tag), std::move(body)});
  }
  return packets;
}

std::optional<Signature> parse_signature(std::string_view body) {
  Byte_Reader reader(body);
  const std::uint32_t version = reader.number(1);
  if (version == 2 || version == 3) {
    return parse_version_3(reader);
  }
  if (version < 4 || version > 6) {
    return std::nullopt;
  }
  Signature signature;
  signature.type = static_cast<int>(reader.number(1));
  reader.number(1);  // the algorithm
  signature.digest = static_cast<int>(reader.number(1));
  const std::size_t size_of_length = version == 6 ? 4 : 2;
  const auto hashed = reader.take(reader.number(size_of_length));
  const auto unhashed = reader.take(reader.number(size_of_length));
  const bool is_whole = reader.is_good() && read_subpackets(hashed, true, signature) &&
                        read_subpackets(unhashed, false, signature);
  return is_whole ? std::optional(signature) : std::nullopt;
}

std::string to_hex(std::string_view bytes) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += DIGITS[value >> 4U];
    text += DIGITS[value & 0x0FU];
  }
  return text;
}

}  // namespace zant::velmora_host::openpgp
