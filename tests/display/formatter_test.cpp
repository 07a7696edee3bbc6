// The risk: text that depends on how the bytes happened to be cut into chunks, and colours taken from what a
// text looks like instead of what it is.

#include "display/formatter.h"

#include <gtest/gtest.h>

#include <functional>
#include <locale>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "base/text.h"
#include "display/palette.h"
#include "transmit/packet_text.h"

namespace hvt {
namespace {

using namespace std::string_view_literals;

Bytes bytes_of(std::string_view text) {
  return {text.begin(), text.end()};
}

// A receive view's text as it is built, one call per event.
struct View {
  DisplayOptions options;
  DisplayLineState line;
  DisplayBatch batch;

  void rx(std::string_view text) { format_rx(bytes_of(text), options, line, batch); }
  void rx_as(std::string_view text, std::wstring_view label) {
    format_rx(bytes_of(text), options, line, batch, label);
  }
  void tx(std::string_view text) { format_tx(bytes_of(text), options, line, batch); }
  void standalone(std::wstring_view text) { format_standalone(text, ColorRole::normal, line, batch); }
  void elapsed(double ms) { format_elapsed(Milliseconds(ms), options, line, batch); }
  void timeout() { format_timeout(line, batch); }
  void late() { format_late(line, batch); }
};

// The text with a mark where the role changes: {n}ormal {r}x {t}x {h}eader {c}ontrol {l}ate time{o}ut. A line
// break shows as "/" and takes no mark: it has no colour.
std::string marked(const DisplayBatch& batch) {
  constexpr std::string_view kMarks = "nrthclo";
  std::string result;
  char role = 0;
  for (const DisplayRun run : batch) {
    for (const wchar_t unit : run.text) {
      if (unit == L'\r') continue;
      const char mark = kMarks[static_cast<std::size_t>(run.role)];
      if (unit != L'\n' && mark != role) result += {'{', mark, '}'};
      if (unit != L'\n') role = mark;
      result += unit == L'\n' ? '/' : static_cast<char>(unit);
    }
  }
  return result;
}

constexpr DisplayOptions kPlain{};
constexpr DisplayOptions kLabels{.labels = true};
constexpr DisplayOptions kHex{.hex = true};
constexpr DisplayOptions kHexLabels{.hex = true, .labels = true};
constexpr DisplayOptions kBreak{.line_break = true};
constexpr DisplayOptions kBreakLabels{.line_break = true, .labels = true};
constexpr DisplayOptions kBreakHide{.line_break = true, .hide_crlf = true};
constexpr DisplayOptions kBreakHideLabels{.line_break = true, .hide_crlf = true, .labels = true};
constexpr DisplayOptions kHide{.hide_crlf = true};
constexpr DisplayOptions kHexBreak{.hex = true, .line_break = true};
constexpr DisplayOptions kNoTiming{.labels = true, .timing = false};

struct Case {
  const char* name;
  DisplayOptions options;
  std::function<void(View&)> play;
  const char* text;
};

void expect_all(std::span<const Case> cases) {
  for (const Case& one : cases) {
    View view;
    view.options = one.options;
    one.play(view);
    EXPECT_EQ(marked(view.batch), one.text) << one.name;
  }
}

TEST(Formatter, shows_received_data) {
  const Case kCases[] = {
      {"special bytes", kPlain, [](View& v) { v.rx("\x7F\xFF\0"sv); }, "{n}<DEL><0xFF><NUL>"},
      {"line ends are control", kPlain, [](View& v) { v.rx("A\r\nB"); }, "{n}A{c}<CR><LF>{n}B"},
      {"broken", kBreak, [](View& v) { v.rx("A\r\nB"); }, "{n}A{c}<CR><LF>/{n}B"},
      {"broken and hidden", kBreakHide, [](View& v) { v.rx("A\r\nB"); }, "{n}A/B"},
      {"CR alone never breaks", kBreak, [](View& v) { v.rx("A\rB"); }, "{n}A{c}<CR>{n}B"},
      {"typed out tokens are payload", kLabels, [](View& v) { v.rx("<CR>\r"); }, "{h}[RX] {r}<CR>{c}<CR>"},
      {"one label for a stream", kLabels, [](View& v) { v.rx("AB"), v.rx("CD"); }, "{h}[RX] {r}ABCD"},
      {"Hex shows line ends", kHexBreak, [](View& v) { v.rx("\r\n"), v.rx("A"); }, "{n}0D 0A 41"},
      {"Hex joined by a space", kHexLabels, [](View& v) { v.rx("\1"), v.rx("\n"); }, "{h}[RX] {r}01 0A"},
      {"labels turned on in a line", kPlain, [](View& v) { v.rx("A"), v.options.labels = true, v.rx("B"); },
       "{n}A/{h}[RX] {r}B"},
      {"labels turned off in a line", kLabels,
       [](View& v) { v.rx("A"), v.options.labels = false, v.rx("B"); }, "{h}[RX] {r}A{n}B"},
      {"hidden bytes leave the line open", kHide, [](View& v) { v.rx("A"), v.rx("\r"), v.standalone(L"-"); },
       "{n}A/-/"},
      {"raw line shows hidden bytes", kHide, [](View& v) { v.line.raw_line = true, v.rx("A\r"); },
       "{n}A{c}<CR>"},
      {"own label, labels off", kPlain, [](View& v) { v.rx_as("A", L"[LATE]"); }, "{n}A"},
      {"own label on a raw line", kPlain,
       [](View& v) { v.rx("A"), v.line.raw_line = true, v.rx_as("B", L"[LATE]"), v.rx("C"); },
       "{n}A/{h}[LATE] {n}BC"},
      {"own label in a labelled stream", kLabels, [](View& v) { v.rx("A"), v.rx_as("B", L"[R2]"); },
       "{h}[RX] {r}A/{h}[R2] {r}B"},
  };
  expect_all(kCases);
}

TEST(Formatter, shows_sent_packets_and_what_became_of_them) {
  const Case kCases[] = {
      {"answered", kBreakLabels, [](View& v) { v.tx("M\r\n"), v.elapsed(1.24), v.rx("OK\r\n"), v.tx("N"); },
       "{h}[TX] {t}M{c}<CR><LF>{h} [1.2 ms]/[RX] {r}OK{c}<CR><LF>/{h}[TX] {t}N"},
      {"only the last break is removed", kBreakLabels, [](View& v) { v.tx("A\nB\n"), v.elapsed(2); },
       "{h}[TX] {t}A{c}<LF>/{t}B{c}<LF>{h} [2.0 ms]"},
      {"hidden line ends", kBreakHideLabels, [](View& v) { v.tx("A\r\nB\r\n"), v.timeout(); },
       "{h}[TX] {t}A/B{o} [TIMEOUT]"},
      {"Hex packet", kHexLabels, [](View& v) { v.rx("\1"), v.tx("A\n"), v.rx("\2"), v.rx("\3"); },
       "{h}[RX] {r}01/{h}[TX] {t}41 0A/{h}[RX] {r}02 03"},
      {"token lookalike", kLabels, [](View& v) { v.tx("<CR>[RX]"); }, "{h}[TX] {t}<CR>[RX]"},
      {"two in a row", kLabels, [](View& v) { v.rx("A"), v.tx("B"), v.tx("C"); },
       "{h}[RX] {r}A/{h}[TX] {t}B/{h}[TX] {t}C"},
      {"late", kLabels, [](View& v) { v.tx("MANUAL"), v.timeout(), v.late(), v.rx("LATE"); },
       "{h}[TX] {t}MANUAL{o} [TIMEOUT]{l} [LATE]/{h}[RX] {r}LATE"},
      {"no answer", kLabels, [](View& v) { v.tx("A"), v.timeout(), v.tx("B"), v.timeout(); },
       "{h}[TX] {t}A{o} [TIMEOUT]/{h}[TX] {t}B{o} [TIMEOUT]"},
      {"timing off", kNoTiming, [](View& v) { v.tx("A"), v.elapsed(1), v.timeout(); },
       "{h}[TX] {t}A{o} [TIMEOUT]"},
      {"labels turned off behind a packet", kLabels,
       [](View& v) { v.tx("A"), v.options.labels = false, v.rx("B"); }, "{h}[TX] {t}A/{n}B"},
      {"not shown, in time", kPlain, [](View& v) { v.elapsed(1), v.rx("A"); }, "{n}A"},
      {"not shown, no answer", kPlain, [](View& v) { v.timeout(); }, "{o}[TIMEOUT]/"},
      {"not shown, late", kPlain, [](View& v) { v.rx("A"), v.timeout(), v.late(), v.rx("B"); },
       "{n}A/{o}[TIMEOUT]/{l}[LATE]/{n}B"},
      {"not shown, Hex", kHex, [](View& v) { v.rx("\1"), v.timeout(), v.rx("\2"); },
       "{n}01/{o}[TIMEOUT]/{n}02"},
      {"separator", kLabels, [](View& v) { v.standalone(L"- 1/2 -"), v.tx("A"), v.standalone(L"- 2/2 -"); },
       "{n}- 1/2 -/{h}[TX] {t}A/{n}- 2/2 -/"},
      {"separator in a received line", kLabels, [](View& v) { v.rx("A"), v.standalone(L"-"), v.rx("B"); },
       "{h}[RX] {r}A/{n}-/{h}[RX] {r}B"},
      {"separator behind a broken line", kBreak, [](View& v) { v.rx("A\n"), v.standalone(L"-"); },
       "{n}A{c}<LF>/{n}-/"},
  };
  expect_all(kCases);
}

// Every combination of what changes the formatting of received bytes, each continuing text of another kind.
std::vector<View> starting_points() {
  std::vector<View> views;
  for (unsigned bits = 0; bits < 32; ++bits) {
    for (int before = 0; before < 4; ++before) {
      View view;
      view.options.hex = (bits & 1) != 0;
      view.options.line_break = (bits & 2) != 0;
      view.options.hide_crlf = (bits & 4) != 0 && !view.options.hex;
      view.options.labels = (bits & 8) != 0;
      view.line.raw_line = (bits & 16) != 0;
      if (before == 1) view.rx("x");
      if (before == 2) view.tx("sent\n");
      if (before == 3) view.standalone(L"-");
      views.push_back(view);
    }
  }
  return views;
}

std::string traits(const View& view) {
  const auto& o = view.options;
  return std::string("hex ") + (o.hex ? "1" : "0") + ", break " + (o.line_break ? "1" : "0") + ", hide " +
         (o.hide_crlf ? "1" : "0") + ", labels " + (o.labels ? "1" : "0") + ", raw " +
         (view.line.raw_line ? "1" : "0") + ", behind " + marked(view.batch);
}

bool same_line(const DisplayLineState& a, const DisplayLineState& b) {
  return a.line_has_text == b.line_has_text && a.at_line_start == b.at_line_start &&
         a.tx_line_open == b.tx_line_open && a.hex_continues == b.hex_continues &&
         a.last_labels == b.last_labels && a.last_kind == b.last_kind;
}

void expect_same(const View& chunked, const View& whole) {
  ASSERT_EQ(marked(chunked.batch), marked(whole.batch));
  ASSERT_EQ(chunked.batch.text(), whole.batch.text());
  ASSERT_EQ(chunked.batch.run_count(), whole.batch.run_count());
  ASSERT_EQ(chunked.batch.raw_rx_bytes, whole.batch.raw_rx_bytes);
  ASSERT_TRUE(same_line(chunked.line, whole.line));
}

TEST(Formatter, any_chunking_gives_the_text_of_the_whole) {
  std::mt19937 random(11);
  constexpr std::string_view kAlphabet = "\r\n\r\nAB <CR>\0\x7F\x80\xFF"sv;
  for (const View& start : starting_points()) {
    SCOPED_TRACE(traits(start));
    std::string stream;
    while (stream.size() < 700) {
      stream += kAlphabet[random() % kAlphabet.size()];
      if (random() % 30 == 0) stream += std::string(random() % 40, 'p');
    }
    View whole = start;
    whole.rx(stream);
    for (int round = 0; round < 8; ++round) {
      View chunked = start;
      const std::size_t longest = round == 0 ? 1 : 3u << round;
      for (std::size_t at = 0; at < stream.size();) {
        const std::size_t size = round == 0 ? 1 : random() % (longest + 1);  // empty chunks among them
        chunked.rx(std::string_view(stream).substr(at, size));
        at += size;
      }
      expect_same(chunked, whole);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(Formatter, control_is_what_came_from_cr_and_lf_only) {
  std::string stream;
  for (int byte = 0; byte < 256; ++byte)
    stream += static_cast<char>(byte);
  View view;
  view.rx(stream);
  std::wstring control;
  for (const DisplayRun run : view.batch) {
    if (run.role == ColorRole::control) control += run.text;
  }
  EXPECT_EQ(control, L"<LF><CR>");
  EXPECT_EQ(view.batch.text(), format_ascii_tokens(bytes_of(stream)));
}

TEST(Formatter, counts_the_bytes_behind_the_text) {
  View view;
  view.options = {.hide_crlf = true, .labels = true};
  view.rx("\r\r");
  view.rx("A");
  EXPECT_EQ(view.batch.raw_rx_bytes, 3U);
  EXPECT_EQ(view.batch.auxiliary_bytes, 0U);
  view.tx("BC\r\n");
  EXPECT_EQ(view.batch.raw_rx_bytes, 3U);
  EXPECT_EQ(view.batch.auxiliary_bytes, 4U);
}

// A decimal comma, as the locales of half the world have it.
class DecimalComma : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST(ElapsedText, has_one_decimal_and_a_full_stop_in_every_locale) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new DecimalComma));
  struct LengthCase {
    double ms;
    const wchar_t* text;
  };
  constexpr LengthCase kCases[] = {
      {0.0, L"[0.0 ms]"},         {0.04, L"[0.0 ms]"},
      {0.06, L"[0.1 ms]"},        {1.2, L"[1.2 ms]"},
      {99.96, L"[100.0 ms]"},     {1234.5, L"[1234.5 ms]"},
      {1e8, L"[100000000.0 ms]"}, {9.9e12, L"[9900000000000.0 ms]"},
  };
  for (const LengthCase& one : kCases)
    EXPECT_EQ(elapsed_text(Milliseconds(one.ms)), one.text);
  std::locale::global(before);
}

TEST(Palette, an_unknown_role_is_normal_text_and_only_the_light_header_is_the_systems) {
  constexpr Rgb kGray{1, 2, 3};
  for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
    const Rgb normal = role_color(ColorRole::normal, appearance, kGray);
    for (const int unknown : {7, 8, 255})
      EXPECT_EQ(role_color(static_cast<ColorRole>(unknown), appearance, kGray), normal);
    for (unsigned role = 0; role < kColorRoleCount; ++role) {
      const bool systems =
          static_cast<ColorRole>(role) == ColorRole::header && appearance == Appearance::light;
      EXPECT_EQ(role_color(static_cast<ColorRole>(role), appearance, kGray) == kGray, systems) << role;
    }
  }
}

}  // namespace
}  // namespace hvt
