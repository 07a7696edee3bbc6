#include "tools/recover/json_values.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "base/text.h"

namespace hvt::recover {
namespace {

constexpr std::string_view kDigits = "0123456789";

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  JsonValues document() {
    value("");
    space();
    if (at_ < text_.size()) fail("the end");
    return std::move(values_);
  }

 private:
  [[noreturn]] void fail(const std::string& expected) const {
    throw std::runtime_error("Not JSON: " + expected + " was expected at byte " + std::to_string(at_) + ".");
  }

  char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }

  bool accept(char wanted) {
    if (at_ == text_.size() || text_[at_] != wanted) return false;
    ++at_;
    return true;
  }

  void expect(char wanted) {
    if (!accept(wanted)) fail(std::string("'") + wanted + "'");
  }

  void space() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

  void value(const std::string& path) {
    constexpr int kDeepest = 32;
    if (++depth_ > kDeepest) fail("less nesting");
    space();
    switch (peek()) {
      case '{': object(path); break;
      case '[': array(path); break;
      case '"': add(path, JsonValue::Kind::string, string()); break;
      case 't': word(path, "true"); break;
      case 'f': word(path, "false"); break;
      case 'n': word(path, "null"); break;
      default: add(path, JsonValue::Kind::number, number());
    }
    --depth_;
  }

  void add(const std::string& path, JsonValue::Kind kind, std::string text) {
    if (!values_.emplace(path, JsonValue{kind, std::move(text)}).second) fail("a new key");
  }

  void object(const std::string& path) {
    expect('{');
    space();
    if (accept('}')) return;
    do {
      space();
      const std::string key = string();
      space();
      expect(':');
      value(path.empty() ? key : path + "." + key);
      space();
    } while (accept(','));
    expect('}');
  }

  void array(const std::string& path) {
    expect('[');
    space();
    if (accept(']')) return;
    int index = 0;
    do {
      value(path + "[" + std::to_string(index++) + "]");
      space();
    } while (accept(','));
    expect(']');
  }

  void word(const std::string& path, std::string_view wanted) {
    if (text_.substr(at_, wanted.size()) != wanted) fail(std::string(wanted));
    at_ += wanted.size();
    add(path, JsonValue::Kind::word, std::string(wanted));
  }

  void digits() {
    const std::size_t end = std::min(text_.find_first_not_of(kDigits, at_), text_.size());
    if (end == at_) fail("a digit");
    at_ = end;
  }

  std::string number() {
    const std::size_t start = at_;
    accept('-');
    if (!accept('0')) digits();
    if (accept('.')) digits();
    if (accept('e') || accept('E')) {
      if (!accept('+')) accept('-');
      digits();
    }
    return std::string(text_.substr(start, at_ - start));
  }

  std::string string() {
    std::wstring text;
    expect('"');
    while (!accept('"')) {
      const std::size_t end = std::min(text_.find_first_of("\"\\", at_), text_.size());
      const std::string_view plain = text_.substr(at_, end - at_);
      if (std::any_of(plain.begin(), plain.end(), [](char c) { return static_cast<std::uint8_t>(c) < 32; }))
        fail("an escape");
      text += utf8_to_utf16(plain);
      at_ = end;
      if (accept('\\')) text += escape();
      if (at_ == text_.size()) fail("'\"'");
    }
    return utf16_to_utf8(text);
  }

  wchar_t escape() {
    constexpr std::string_view kLetters = "\"\\/bfnrt";
    constexpr std::wstring_view kMeanings = L"\"\\/\b\f\n\r\t";
    const std::size_t found = kLetters.find(peek());
    if (at_ < text_.size() && found != kLetters.npos) {
      ++at_;
      return kMeanings[found];
    }
    expect('u');
    constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";
    const std::string_view code = text_.substr(at_, 4);
    if (code.size() < 4 || code.find_first_not_of(kHexDigits) != code.npos) fail("four hex digits");
    at_ += 4;
    return static_cast<wchar_t>(std::stoul(std::string(code), nullptr, 16));
  }

  std::string_view text_;
  std::size_t at_ = 0;
  int depth_ = 0;
  JsonValues values_;
};

}  // namespace

JsonValues parse_json(std::string_view document) {
  return Parser(document).document();
}

}  // namespace hvt::recover
