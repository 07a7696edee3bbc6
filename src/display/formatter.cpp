#include "display/formatter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "transmit/byte_tokens.h"

namespace hvt {
namespace {

constexpr std::wstring_view kLineBreak = L"\r\n";

// Adds text at the end of the view and keeps track of where it stands.
class Writer {
 public:
  Writer(DisplayLineState& state, DisplayBatch& out) : state_(state), out_(out) {}

  void text(std::wstring_view text, ColorRole role) {
    if (text.empty()) return;
    out_.add(text, role);
    state_.line_has_text = true;
    state_.at_line_start = text.back() == L'\n';
  }

  void close_tx_line(ColorRole role) {
    if (!state_.tx_line_open) return;
    text(kLineBreak, role);
    state_.tx_line_open = false;
  }

  void start_line(ColorRole role) {
    if (state_.line_has_text && !state_.at_line_start) text(kLineBreak, role);
  }

  void payload(std::span<const std::uint8_t> bytes, const DisplayOptions& options, ColorRole role) {
    if (options.hex) return hex_pairs(bytes, role);
    const bool hide_crlf = options.hide_crlf && !state_.raw_line;
    write_display_tokens(bytes, options.line_break, hide_crlf,
                         [&](std::wstring_view piece, bool line_end_tokens) {
                           text(piece, line_end_tokens ? ColorRole::control : role);
                         });
  }

 private:
  // Pairs with a space between them, written in blocks because a string of them all would be an allocation.
  void hex_pairs(std::span<const std::uint8_t> bytes, ColorRole role) {
    TokenBuffer buffer;
    while (!bytes.empty()) {
      const auto block = bytes.first(std::min(bytes.size(), kTokenBlock));
      bytes = bytes.subspan(block.size());
      wchar_t* at = buffer.data();
      for (const std::uint8_t byte : block)
        at = write_text(at, kHexPairs[byte]);
      if (bytes.empty()) --at;  // no space behind the last
      text({buffer.data(), static_cast<std::size_t>(at - buffer.data())}, role);
    }
  }

  DisplayLineState& state_;
  DisplayBatch& out_;
};

bool needs_label(const DisplayOptions& options, const DisplayLineState& state, bool overridden) {
  if (overridden) return options.labels || state.raw_line;
  const bool continues = state.last_kind == LineKind::rx && (state.raw_line || state.last_labels);
  return options.labels && !continues;
}

// Behind the sent packet when its line is still open, else a line of its own.
void format_status(std::wstring_view status, ColorRole role, DisplayLineState& state, DisplayBatch& out) {
  if (!state.tx_line_open) {
    format_standalone(status, role, state, out);
    return;
  }
  const std::wstring suffix = L" " + std::wstring(status);
  Writer(state, out).text(suffix, role);
  out.auxiliary_bytes += suffix.size();
}

}  // namespace

void format_rx(std::span<const std::uint8_t> bytes, const DisplayOptions& options, DisplayLineState& state,
               DisplayBatch& out, std::optional<std::wstring_view> label_override) {
  if (options.hex && bytes.empty()) return;
  const ColorRole role = options.labels ? ColorRole::rx_payload : ColorRole::normal;
  Writer writer(state, out);
  writer.close_tx_line(ColorRole::header);
  if (needs_label(options, state, label_override.has_value())) {
    writer.start_line(ColorRole::header);
    writer.text(label_override.value_or(L"[RX]"), ColorRole::header);
    writer.text(L" ", ColorRole::header);
    state.hex_continues = false;
  }
  state.last_kind = LineKind::rx;
  state.last_labels = options.labels;
  if (options.hex && state.hex_continues) writer.text(L" ", role);
  writer.payload(bytes, options, role);
  state.hex_continues = options.hex;
  out.raw_rx_bytes += bytes.size();
}

void format_tx(std::span<const std::uint8_t> bytes, const DisplayOptions& options, DisplayLineState& state,
               DisplayBatch& out) {
  Writer writer(state, out);
  writer.close_tx_line(ColorRole::header);
  writer.start_line(ColorRole::header);
  writer.text(L"[TX] ", ColorRole::header);
  // The last LF does not break the line: the time suffix follows on it.
  const bool ends_in_break = !options.hex && options.line_break && !bytes.empty() && bytes.back() == '\n';
  const std::size_t broken = ends_in_break ? bytes.size() - 1 : bytes.size();
  DisplayOptions unbroken = options;
  unbroken.line_break = false;
  writer.payload(bytes.first(broken), options, ColorRole::tx_payload);
  writer.payload(bytes.subspan(broken), unbroken, ColorRole::tx_payload);
  state.last_kind = LineKind::tx;
  state.hex_continues = false;
  state.last_labels = false;
  state.tx_line_open = true;
  out.auxiliary_bytes += bytes.size();
}

void format_hidden_tx(DisplayLineState& state, DisplayBatch& out) {
  Writer(state, out).close_tx_line(ColorRole::header);
}

void format_standalone(std::wstring_view text, ColorRole role, DisplayLineState& state, DisplayBatch& out) {
  Writer writer(state, out);
  writer.close_tx_line(role);
  writer.start_line(role);
  writer.text(text, role);
  writer.text(kLineBreak, role);
  state.last_kind = LineKind::status;
  state.hex_continues = false;  // what follows begins a line
  out.auxiliary_bytes += text.size();
}

void format_elapsed(Milliseconds elapsed, const DisplayOptions& options, DisplayLineState& state,
                    DisplayBatch& out) {
  if (options.timing && state.tx_line_open) {
    format_status(elapsed_text(elapsed), ColorRole::header, state, out);
  }
}

void format_timeout(DisplayLineState& state, DisplayBatch& out) {
  format_status(L"[TIMEOUT]", ColorRole::timeout, state, out);
}

void format_late(DisplayLineState& state, DisplayBatch& out) {
  format_status(L"[LATE]", ColorRole::late, state, out);
}

std::wstring elapsed_text(Milliseconds elapsed) {
  // Sign, digits of the largest value, full stop and one decimal.
  std::array<char, std::numeric_limits<double>::max_exponent10 + 4> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), elapsed.count(),
                                    std::chars_format::fixed, 1);
  return L"[" + std::wstring(digits.data(), result.ptr) + L" ms]";
}

}  // namespace hvt
