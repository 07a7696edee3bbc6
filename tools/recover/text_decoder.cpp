#include "tools/recover/text_decoder.h"

#include <algorithm>
#include <array>
#include <utility>

#include "transmit/byte_tokens.h"

namespace hvt::recover {
namespace {

// The longest piece of text whose meaning depends on its end: the beginning of a separator line.
constexpr std::size_t kLookAhead = 32;
constexpr std::string_view kLineBreak = "\r\n";
constexpr std::string_view kSeparator = "-------------------- ";

struct NamedToken {
  std::string text;
  std::uint8_t byte = 0;
  bool operator<(const NamedToken& other) const { return text < other.text; }
};

std::vector<NamedToken> named_tokens() {
  std::vector<NamedToken> tokens;
  for (std::size_t byte = 0; byte < kByteTokens.size(); ++byte) {
    const std::wstring_view text = kByteTokens[byte].view();
    if (text.size() > 1)
      tokens.push_back({std::string(text.begin(), text.end()), static_cast<std::uint8_t>(byte)});
  }
  std::sort(tokens.begin(), tokens.end());
  return tokens;
}

const NamedToken* find_token(std::string_view text) {
  static const std::vector<NamedToken> kTokens = named_tokens();
  const std::size_t end = text.substr(0, kLongestToken).find('>');
  if (end == text.npos) return nullptr;
  const std::string_view token = text.substr(0, end + 1);
  const auto found =
      std::lower_bound(kTokens.begin(), kTokens.end(), token,
                       [](const NamedToken& known, std::string_view sought) { return known.text < sought; });
  return found != kTokens.end() && found->text == token ? &*found : nullptr;
}

std::optional<std::uint8_t> hex_digit(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
  return std::nullopt;
}

}  // namespace

TextDecoder::TextDecoder(ReceiveFormat format, LineMarks marks, Sink sink)
    : format_(format), marks_(marks), sink_(std::move(sink)) {}

void TextDecoder::feed(std::string_view text) {
  pending_.append(text);
  decode(false);
}

void TextDecoder::finish() {
  decode(true);
}

void TextDecoder::decode(bool at_end) {
  const std::size_t until =
      at_end ? pending_.size() : pending_.size() - std::min(pending_.size(), kLookAhead);
  at_ = 0;
  while (at_ < until)
    at_ += step(std::string_view(pending_).substr(at_));
  pending_.erase(0, at_);
  decoded_ += at_;
  at_ = 0;
  raw_bytes_ += out_.size();
  if (sink_ && !out_.empty()) sink_(out_);
  out_.clear();
}

// Each step decodes one thing at the beginning of `text` and returns its length.
std::size_t TextDecoder::step(std::string_view text) {
  if (std::exchange(line_start_, false) && marks_ == LineMarks::labels) {
    if (const std::size_t mark = start_line(text)) return mark;
  }
  if (text.starts_with(kLineBreak)) {
    ++line_breaks_;
    line_start_ = true;
    if (line_ == Line::status) line_ = Line::received;
    return kLineBreak.size();
  }
  if (text == kLineBreak.substr(0, 1)) return 1;  // the end of an unfinished recording
  if (line_ != Line::received) return std::max<std::size_t>(1, std::min(text.find('\r'), text.size()));
  return format_ == ReceiveFormat::hex ? hex_step(text) : ascii_step(text);
}

// A line without a mark goes on with what the line before was: a sent packet may hold line breaks.
std::size_t TextDecoder::start_line(std::string_view text) {
  struct Mark {
    std::string_view text;
    Line line;
  };
  static constexpr std::array kMarks{
      Mark{"[RX] ", Line::received},       Mark{"[TX] ", Line::sent},        Mark{kSeparator, Line::status},
      Mark{"[TIMEOUT]\r\n", Line::status}, Mark{"[LATE]\r\n", Line::status},
  };
  for (const Mark& mark : kMarks) {
    if (!text.starts_with(mark.text)) continue;
    line_ = mark.line;
    const bool whole_line = mark.text.ends_with(kLineBreak);
    return mark.text.size() - (whole_line ? kLineBreak.size() : 0);
  }
  return 0;
}

std::size_t TextDecoder::ascii_step(std::string_view text) {
  const char character = text.front();
  if (character < 0x20 || character > 0x7E) return fault();
  if (character == '<') {
    if (const NamedToken* token = find_token(text)) {
      emit(token->byte);
      if (is_line_end(token->byte)) ++line_end_tokens_;
      return token->text.size();
    }
  }
  emit(static_cast<std::uint8_t>(character));
  return 1;
}

std::size_t TextDecoder::hex_step(std::string_view text) {
  if (text.front() == ' ') return 1;
  const auto high = hex_digit(text.front());
  if (high && text.size() == 1) return 1;  // the end of an unfinished recording
  const auto low = text.size() > 1 ? hex_digit(text[1]) : std::nullopt;
  if (!high || !low) return fault();
  emit(static_cast<std::uint8_t>(*high << 4 | *low));
  return 2;
}

std::size_t TextDecoder::fault() {
  if (!first_fault_) first_fault_ = decoded_ + at_;
  return 1;
}

void TextDecoder::emit(std::uint8_t byte) {
  out_.push_back(byte);
}

}  // namespace hvt::recover
