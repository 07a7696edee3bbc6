#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "settings/json.h"

namespace hvt {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kNestingLimit = 64;

[[noreturn]] void refuse_document() {
  throw std::runtime_error("Invalid JSON document.");
}

const char* message(Utf8Fault fault) {
  switch (fault) {
    case Utf8Fault::kNone: break;
    case Utf8Fault::kLead: return "Invalid UTF-8 in JSON.";
    case Utf8Fault::kIncomplete: return "Incomplete UTF-8 in JSON.";
    case Utf8Fault::kContinuation: return "Invalid UTF-8 continuation.";
    case Utf8Fault::kScalar: return "Invalid Unicode scalar in JSON.";
  }
  return nullptr;
}

constexpr bool is_digit(char byte) {
  return byte >= '0' && byte <= '9';
}

// Ends a run of bytes that a string takes over as they are.
constexpr bool is_plain(char byte) {
  return static_cast<std::uint8_t>(byte) >= 0x20 && byte != '"' && byte != '\\';
}

// The byte that a backslash and this letter stand for; NUL when they stand for none.
constexpr char short_escape(char letter) {
  switch (letter) {
    case '"':
    case '/':
    case '\\': return letter;
    case 'b': return '\b';
    case 'f': return '\f';
    case 'n': return '\n';
    case 'r': return '\r';
    case 't': return '\t';
    default: return '\0';
  }
}

// The read position in a document of valid UTF-8 that outlives it, and one function per rule of the grammar.
// Each leaves the position behind what it read or throws; after that the cursor is of no more use.
class JsonCursor {
 public:
  explicit JsonCursor(std::string_view document) : document_(document) {}

  // A value with `depth` containers around it. The recursion and so the stack end with the nesting limit.
  JsonValue value(std::size_t depth) {
    if (depth > kNestingLimit) throw std::runtime_error("JSON nesting limit exceeded.");
    skip_whitespace();
    JsonValue result;
    switch (peek()) {
      case '"':
        result.kind = JsonKind::kString;
        result.text = string();
        return result;
      case '{':
        result.kind = JsonKind::kObject;
        object(result, depth);
        return result;
      case '[':
        result.kind = JsonKind::kArray;
        array(result, depth);
        return result;
      default: break;
    }
    if (take("null")) return result;
    result.bool_value = take("true");
    if (result.bool_value || take("false")) {
      result.kind = JsonKind::kBool;
      return result;
    }
    result.kind = JsonKind::kNumber;
    result.text = number();
    return result;
  }

  void end_of_document() {
    skip_whitespace();
    if (at_ < document_.size()) refuse_document();
  }

 private:
  char peek() const {
    if (at_ == document_.size()) refuse_document();
    return document_[at_];
  }

  char next() {
    const char byte = peek();
    ++at_;
    return byte;
  }

  bool take(char byte) {
    if (at_ == document_.size() || document_[at_] != byte) return false;
    ++at_;
    return true;
  }

  bool take(std::string_view literal) {
    if (!document_.substr(at_).starts_with(literal)) return false;
    at_ += literal.size();
    return true;
  }

  void skip_whitespace() {
    while (at_ < document_.size() && (document_[at_] == ' ' || document_[at_] == '\n' ||
                                      document_[at_] == '\r' || document_[at_] == '\t'))
      ++at_;
  }

  // Behind an element or member: whether another one follows or the container ends.
  bool another(char closing) {
    skip_whitespace();
    const char byte = next();
    if (byte != ',' && byte != closing) refuse_document();
    return byte == ',';
  }

  void object(JsonValue& result, std::size_t depth) {
    next();
    skip_whitespace();
    if (take('}')) return;
    do {
      skip_whitespace();
      if (peek() != '"') refuse_document();
      std::string key = string();
      skip_whitespace();
      if (next() != ':') refuse_document();
      result.members.insert_or_assign(std::move(key), value(depth + 1));
    } while (another('}'));
  }

  void array(JsonValue& result, std::size_t depth) {
    next();
    skip_whitespace();
    if (take(']')) return;
    do {
      result.items.push_back(value(depth + 1));
    } while (another(']'));
  }

  std::string string() {
    next();
    std::string text;
    for (;;) {
      const std::size_t begin = at_;
      while (at_ < document_.size() && is_plain(document_[at_]))
        ++at_;
      text.append(document_, begin, at_ - begin);
      const char byte = next();
      if (byte == '"') return text;
      if (byte != '\\') refuse_document();  // a control character
      escape(text);
    }
  }

  void escape(std::string& text) {
    const char letter = next();
    if (letter == 'u') {
      append_utf8(text, escaped_scalar());
      return;
    }
    const char byte = short_escape(letter);
    if (byte == '\0') refuse_document();
    text += byte;
  }

  std::uint32_t escaped_scalar() {
    const std::uint32_t unit = four_hex_digits();
    if (is_low_surrogate(unit)) refuse_document();
    if (!is_high_surrogate(unit)) return unit;
    if (!take("\\u")) refuse_document();
    const std::uint32_t low = four_hex_digits();
    if (!is_low_surrogate(low)) refuse_document();
    return surrogate_pair(unit, low);
  }

  std::uint32_t four_hex_digits() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
      const char digit = next();
      const char lower = static_cast<char>(digit | 0x20);
      if (is_digit(digit)) {
        value = value << 4 | static_cast<std::uint32_t>(digit - '0');
      } else if (lower >= 'a' && lower <= 'f') {
        value = value << 4 | static_cast<std::uint32_t>(lower - 'a' + 10);
      } else {
        refuse_document();
      }
    }
    return value;
  }

  std::string number() {
    const std::size_t begin = at_;
    take('-');
    if (!take('0')) digits();
    if (take('.')) digits();
    if (take('e') || take('E')) {
      if (!take('+')) take('-');
      digits();
    }
    return std::string(document_.substr(begin, at_ - begin));
  }

  // At least one.
  void digits() {
    if (!is_digit(next())) refuse_document();
    while (at_ < document_.size() && is_digit(document_[at_]))
      ++at_;
  }

  const std::string_view document_;
  std::size_t at_ = 0;
};

}  // namespace

JsonValue parse_json_document(std::string_view document) {
  if (document.starts_with(kByteOrderMark)) document.remove_prefix(kByteOrderMark.size());
  if (const char* fault = message(find_utf8_fault(document))) throw std::runtime_error(fault);
  JsonCursor cursor(document);
  JsonValue root = cursor.value(0);
  cursor.end_of_document();
  return root;
}

}  // namespace hvt
