#include <zant/velmora_host/families/apt/apt_configuration.hpp>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string_view>
#include <utility>

namespace zant::velmora_host {
namespace {

struct Token {
  std::string text;
  bool is_quoted = false;
};

class Tokens {
 public:
  explicit Tokens(std::string_view text) : rest_(text) {}

  /// Of the last character taken.
  std::size_t line() const { return line_; }

  std::optional<Token> next() {
    skip_blanks_and_comments_();
    if (rest_.empty()) {
      return std::nullopt;
    }
    if (rest_.front() == '"') {
      rest_.remove_prefix(1);
      Token token{take_until_("\""), true};
      take_(1);
      return token;
    }
    if (std::string_view("{};").find(rest_.front()) != std::string_view::npos) {
      return Token{std::string(take_(1)), false};
    }
    return Token{take_until_(" \t\r\n{};\""), false};
  }

 private:
  std::string_view take_(std::size_t size) {
    const auto taken = rest_.substr(0, size);
    line_ += static_cast<std::size_t>(std::count(taken.begin(), taken.end(), '\n'));
    rest_.remove_prefix(taken.size());
    return taken;
  }

  std::string take_until_(std::string_view ends) {
    return std::string(take_(std::min(rest_.find_first_of(ends), rest_.size())));
  }

  void skip_blanks_and_comments_() {
    while (!rest_.empty()) {
      if (std::isspace(static_cast<unsigned char>(rest_.front())) != 0) {
        take_(1);
      } else if (rest_.front() == '#' || rest_.starts_with("//")) {
        take_until_("\n");
      } else if (rest_.starts_with("/*")) {
        const std::size_t end = rest_.find("*/");
        take_(end == std::string_view::npos ? rest_.size() : end + 2);
      } else {
        return;
      }
    }
  }

  std::string_view rest_;
  std::size_t line_ = 1;
};

// The names of the blocks that are open, joined as a prefix.
class Scopes {
 public:
  const std::string& prefix() const { return prefix_; }

  void open(const std::string& name) {
    lengths_.push_back(prefix_.size());
    prefix_ += name.empty() ? "" : name + "::";
  }

  void close() {
    if (!lengths_.empty()) {
      prefix_.resize(lengths_.back());
      lengths_.pop_back();
    }
  }

 private:
  std::string prefix_;
  std::vector<std::size_t> lengths_;
};

void add_item(const std::vector<Token>& words, const std::string& prefix, std::size_t line,
              std::vector<APT_Configuration_Item>& items) {
  if (words.size() == 1 && words[0].is_quoted && !prefix.empty()) {
    items.push_back({prefix, words[0].text, line});
  } else if (words.size() >= 2) {
    items.push_back({prefix + words[0].text, words[1].text, line});
  }
}

bool is_one_of(const std::string& value, std::initializer_list<const char*> words) {
  const std::string word = boost::algorithm::to_lower_copy(value);
  return std::any_of(words.begin(), words.end(), [&word](const char* other) { return word == other; });
}

}  // namespace

std::vector<APT_Configuration_Item> parse_apt_configuration(const std::string& text) {
  std::vector<APT_Configuration_Item> items;
  std::vector<Token> words;
  Scopes scopes;
  Tokens tokens(text);
  while (auto token = tokens.next()) {
    if (token->is_quoted || (token->text != "{" && token->text != "}" && token->text != ";")) {
      words.push_back(std::move(*token));
      continue;
    }
    if (token->text == "{") {
      scopes.open(words.empty() ? "" : words[0].text);
    } else {
      add_item(words, scopes.prefix(), tokens.line(), items);
    }
    if (token->text == "}") {
      scopes.close();
    }
    words.clear();
  }
  return items;
}

bool is_apt_yes(const std::string& value) {
  const bool is_number = !value.empty() && std::all_of(value.begin(), value.end(),
                                                       [](unsigned char c) { return std::isdigit(c) != 0; });
  return is_one_of(value, {"yes", "true", "with", "on", "enable"}) ||
         (is_number && value.find_first_not_of('0') != std::string::npos);
}

bool is_apt_no(const std::string& value) {
  return is_one_of(value, {"no", "false", "without", "off", "disable", "0"});
}

}  // namespace zant::velmora_host
