// Risks: text or colours that land elsewhere than appended (line breaks count as one character in the
// control), a stream that fails half-way, fonts and paragraphs that insertions change, a change of appearance
// that loses text, colours or the place.

#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>
#include <richedit.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "receive_view_rig.h"

namespace hvt::test {
namespace {

TEST_F(ReceiveViewTest, AppendedTextAndRolesAreExact) {
  struct Case {
    const char* name;
    std::vector<Runs> batches;
    Runs expected;
  };
  const auto normal = ColorRole::normal;
  const auto rx = ColorRole::rx_payload;
  const auto tx = ColorRole::tx_payload;
  const auto head = ColorRole::header;
  const Case cases[]{
      {"one role", {{{L"abc", rx}}}, {{L"abc", rx}}},
      {"every role in one batch",
       {{{L"a", normal},
         {L"b", rx},
         {L"c", tx},
         {L"d", head},
         {L"<CR>", ColorRole::control},
         {L"[LATE]", ColorRole::late},
         {L"[TIMEOUT]", ColorRole::timeout}}},
       {{L"a", normal},
        {L"b", rx},
        {L"c", tx},
        {L"d", head},
        {L"<CR>", ColorRole::control},
        {L"[LATE]", ColorRole::late},
        {L"[TIMEOUT]", ColorRole::timeout}}},
      {"a role that comes back",
       {{{L"aa", rx}, {L"b", tx}, {L"cc", rx}}},
       {{L"aa", rx}, {L"b", tx}, {L"cc", rx}}},
      {"CR LF folds and colours stay in place",
       {{{L"[TX] ", head}, {L"a\r\nb", tx}, {L"\r\n", normal}, {L"c", rx}}},
       {{L"[TX] ", head}, {L"a\rb", tx}, {L"\r", normal}, {L"c", rx}}},
      {"every role around line breaks",
       {{{L"a\r\n", normal},
         {L"b\r\n\r\n", rx},
         {L"c", tx},
         {L"\r\nd", head},
         {L"<CR>\n", ColorRole::control},
         {L"[LATE]\r", ColorRole::late},
         {L"[TIMEOUT]\r\n", ColorRole::timeout}}},
       {{L"a\r", normal},
        {L"b\r\r", rx},
        {L"c", tx},
        {L"\rd", head},
        {L"<CR>\r", ColorRole::control},
        {L"[LATE]\r", ColorRole::late},
        {L"[TIMEOUT]\r", ColorRole::timeout}}},
      {"CR LF divided between runs", {{{L"a\r", rx}, {L"\nb", tx}}}, {{L"a\r", rx}, {L"b", tx}}},
      {"lone CR and lone LF", {{{L"a\rb\nc\n\nd", rx}}}, {{L"a\rb\rc\r\rd", rx}}},
      {"several batches",
       {{{L"[RX] ", head}, {L"ab", rx}}, {{L"cd\r\n", rx}}, {{L"e", tx}}},
       {{L"[RX] ", head}, {L"abcd\r", rx}, {L"e", tx}}},
      {"markup, tab and other scripts",
       {{{L"{\\rtf1}\t", rx}, {L"\uC548\uB155 \u00E9", tx}, {L"\U0001F600!", rx}}},
       {{L"{\\rtf1}\t", rx}, {L"\uC548\uB155 \u00E9", tx}, {L"\U0001F600!", rx}}},
  };
  for (const Case& named : cases) {
    SCOPED_TRACE(named.name);
    view_.clear();
    std::size_t reported = 0;
    for (const Runs& runs : named.batches)
      reported += view_.append(batch_of(runs));
    std::wstring expected;
    for (const DisplayRun& run : named.expected)
      expected += run.text;
    EXPECT_EQ(text(), expected);
    EXPECT_EQ(reported, expected.size());
    expect_colors(named.expected);
  }
}

// The view's streams as they are when the control or memory fails them, or takes liberties.
class StreamFault {
 public:
  enum class Kind { error_at_once, error_after_some, silently_short, without_table, own_paragraphs };

  StreamFault(HWND control, UINT message, Kind kind) : control_(control), message_(message), kind_(kind) {
    SetWindowSubclass(control, procedure, kId, reinterpret_cast<DWORD_PTR>(this));
  }
  ~StreamFault() { RemoveWindowSubclass(control_, procedure, kId); }
  StreamFault(const StreamFault&) = delete;
  StreamFault& operator=(const StreamFault&) = delete;

  int streams() const { return streams_; }

 private:
  static constexpr UINT_PTR kId = 77;

  static LRESULT CALLBACK procedure(HWND control, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                    DWORD_PTR self) {
    auto& fault = *reinterpret_cast<StreamFault*>(self);
    if (message != fault.message_) return DefSubclassProc(control, message, first, second);
    auto& stream = *reinterpret_cast<EDITSTREAM*>(second);
    ++fault.streams_;
    return fault.fail(control, first, stream);
  }

  LRESULT fail(HWND control, WPARAM format, EDITSTREAM& stream) {
    if (kind_ == Kind::without_table) {
      char table_free[]{"{\\rtf1 x}"};
      LONG taken = 0;
      stream.pfnCallback(stream.dwCookie, reinterpret_cast<LPBYTE>(table_free), 9, &taken);
      return taken;
    }
    if (kind_ == Kind::own_paragraphs) return stream_with_own_paragraphs(control, format, stream);
    // Later streams work: what the view does to recover must succeed.
    if (kind_ == Kind::error_at_once || streams_ > 1) {
      if (streams_ > 1) return DefSubclassProc(control, message_, format, reinterpret_cast<LPARAM>(&stream));
      stream.dwError = 1;
      return 0;
    }
    std::string short_text{"{\\rtf1{\\colortbl;\\red1\\green2\\blue3;}\\fs60\\b\\cf1 par"};
    short_text += kind_ == Kind::silently_short ? "t}" : "";
    std::string_view rest = short_text;
    EDITSTREAM replaced{reinterpret_cast<DWORD_PTR>(&rest), 0, feed};
    const LRESULT size = DefSubclassProc(control, message_, format, reinterpret_cast<LPARAM>(&replaced));
    stream.dwError = kind_ == Kind::silently_short ? 0 : 5;
    return size;
  }

  LRESULT stream_with_own_paragraphs(HWND control, WPARAM format, EDITSTREAM& stream) {
    std::string rtf(4096, '\0');
    LONG given = 0;
    stream.pfnCallback(stream.dwCookie, reinterpret_cast<LPBYTE>(rtf.data()), 4096, &given);
    rtf.resize(static_cast<std::size_t>(given));
    rtf.insert(rtf.find("\\f0\\fs"), "\\pard\\li900\\qc");
    std::string_view rest = rtf;
    EDITSTREAM replaced{reinterpret_cast<DWORD_PTR>(&rest), 0, feed};
    return DefSubclassProc(control, message_, format, reinterpret_cast<LPARAM>(&replaced));
  }

  static DWORD CALLBACK feed(DWORD_PTR source, LPBYTE target, LONG wanted, LONG* given) {
    auto& rest = *reinterpret_cast<std::string_view*>(source);
    *given = static_cast<LONG>(rest.copy(reinterpret_cast<char*>(target), static_cast<std::size_t>(wanted)));
    rest.remove_prefix(static_cast<std::size_t>(*given));
    return 0;
  }

  HWND control_;
  UINT message_;
  Kind kind_;
  int streams_ = 0;
};

using Fault = StreamFault::Kind;

TEST_F(ReceiveViewTest, AFailingStreamIsMadeUpForWithoutDoublingText) {
  const Runs before{{L"[RX] ", ColorRole::header}, {L"old\r", ColorRole::rx_payload}};
  const Runs added{{L"{a}\r", ColorRole::tx_payload}, {L"b\r", ColorRole::late}, {L"c", ColorRole::header}};
  for (const Runs& held : {before, Runs{}}) {
    for (const Fault kind : {Fault::error_at_once, Fault::error_after_some, Fault::silently_short}) {
      SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + " into " + std::to_string(held.size()) + " runs");
      view_.clear();
      const auto characters = static_cast<LONG>(view_.append(batch_of(held)));
      {
        const StreamFault fault{control_, EM_STREAMIN, kind};
        EXPECT_EQ(view_.append(batch_of(added)), 7u);
        EXPECT_EQ(fault.streams(), 1);
      }
      EXPECT_EQ(text().substr(static_cast<std::size_t>(characters)), L"{a}\rb\rc");
      Runs all = held;
      all.insert(all.end(), added.begin(), added.end());
      expect_colors(all);
      const CHARFORMAT2W format = format_of(0, edit_.length());
      EXPECT_NE(format.dwMask & CFM_SIZE, 0u) << "one size";
      EXPECT_EQ(format.yHeight, 200);
      EXPECT_EQ(format.dwEffects & CFE_BOLD, 0u);
      EXPECT_EQ(edit_.send(EM_CANUNDO), FALSE);
    }
  }
}

TEST_F(ReceiveViewTest, OneRoleIsInsertedWithoutAStream) {
  const StreamFault fault{control_, EM_STREAMIN, Fault::error_at_once};
  view_.append(batch_of({{L"a\r", ColorRole::late}, {L"\n", ColorRole::header}}));
  EXPECT_EQ(fault.streams(), 0);
  EXPECT_EQ(text(), L"a\r");
}

TEST_F(ReceiveViewTest, FontSizeAndStyleSurviveColouredInsertions) {
  auto& view = static_cast<RichEditView&>(view_);
  for (const int points : {8, 12, 24}) {
    for (const int dpi : {96, 144, 192}) {
      SCOPED_TRACE(std::to_string(points) + " points at " + std::to_string(dpi));
      view_.clear();
      view.set_dpi(dpi);
      view_.set_font_points(points);
      view_.append(batch_of({{L"abc\r\n", ColorRole::rx_payload}, {L"\uD55C", ColorRole::late}}));
      view_.append(batch_of({{L"plain", ColorRole::rx_payload}}));
      view_.trim_head(2);
      view_.append(batch_of({{L"def", ColorRole::header}, {L"x\r\n", ColorRole::tx_payload}}));
      const CHARFORMAT2W format = format_of(0, edit_.length());
      EXPECT_NE(format.dwMask & CFM_SIZE, 0u) << "one size";
      EXPECT_EQ(format.yHeight, points * 20);
      EXPECT_NE(format.dwMask & CFM_FACE, 0u) << "one face";
      EXPECT_STREQ(format.szFaceName, kFixedFace);
      EXPECT_EQ(format.dwEffects & (CFE_BOLD | CFE_ITALIC | CFE_UNDERLINE | CFE_STRIKEOUT), 0u);
    }
  }
}

TEST_F(ReceiveViewTest, InsertedTextTakesTheFontStyleAndParagraphsThatAreThere) {
  view_.append(batch_of({{L"x", ColorRole::normal}}));
  edit_.select(0, 1);
  PARAFORMAT2 paragraph = edit_.paragraph_format();
  paragraph.dwMask = PFM_STARTINDENT | PFM_OFFSET | PFM_ALIGNMENT | PFM_SPACEBEFORE;
  paragraph.dxStartIndent = 300;
  paragraph.dxOffset = -100;
  paragraph.wAlignment = PFA_RIGHT;
  paragraph.dySpaceBefore = 60;
  edit_.set_paragraph_format(paragraph);
  CHARFORMAT2W style{};
  style.cbSize = sizeof style;
  style.dwMask = CFM_ITALIC | CFM_UNDERLINE;
  style.dwEffects = CFE_ITALIC | CFE_UNDERLINE;
  edit_.set_character_format(style);

  view_.append(batch_of({{L"a\r\n", ColorRole::rx_payload}, {L"b\r\nc", ColorRole::late}}));
  {
    const StreamFault fault{control_, EM_STREAMIN, Fault::own_paragraphs};
    view_.append(batch_of({{L"\r\nd", ColorRole::rx_payload}, {L"\r\ne", ColorRole::late}}));
  }
  view_.append(batch_of({{L"\r\nf", ColorRole::rx_payload}}));
  EXPECT_EQ(text(), L"xa\rb\rc\rd\re\rf");
  const CHARFORMAT2W format = format_of(0, edit_.length());
  EXPECT_NE(format.dwMask & CFM_ITALIC, 0u);
  EXPECT_EQ(format.dwEffects & (CFE_ITALIC | CFE_UNDERLINE | CFE_BOLD), DWORD{CFE_ITALIC | CFE_UNDERLINE});
  for (const LONG place : {1, 3, 5, 7, 9, 11}) {
    SCOPED_TRACE(place);
    edit_.select(place, place);
    const PARAFORMAT2 actual = edit_.paragraph_format();
    EXPECT_EQ(actual.dxStartIndent, 300);
    EXPECT_EQ(actual.dxOffset, -100);
    EXPECT_EQ(actual.wAlignment, PFA_RIGHT);
    EXPECT_EQ(actual.dySpaceBefore, 60);
  }
}

TEST_F(ReceiveViewTest, NothingThatTheProgramDoesCanBeUndone) {
  const auto expect_nothing = [&](const char* after) {
    EXPECT_EQ(edit_.send(EM_CANUNDO), FALSE) << after;
    edit_.send(EM_UNDO);
    EXPECT_EQ(edit_.send(EM_CANREDO), FALSE) << after;
  };
  view_.append(batch_of({{L"one role", ColorRole::rx_payload}}));
  expect_nothing("a plain insertion");
  view_.append(batch_of({{L"abc\r\n", ColorRole::rx_payload}, {L"d", ColorRole::late}}));
  expect_nothing("a stream");
  view_.trim_head(2);
  expect_nothing("trimming");
  view_.set_appearance(Appearance::dark);
  expect_nothing("recolouring");
  EXPECT_EQ(text(), L"e roleabc\rd");
  view_.clear();
  view_.append(batch_of({{L"again", ColorRole::rx_payload}, {L"d", ColorRole::late}}));
  expect_nothing("clearing");
  EXPECT_EQ(text(), L"againd");
}

TEST_F(ReceiveViewTest, TrimmingTakesExactlyTheHeadAndKeepsTheColoursOfTheRest) {
  view_.append(batch_of({{L"abc", ColorRole::header}, {L"de\r\nf", ColorRole::rx_payload}}));
  view_.trim_head(4);
  EXPECT_EQ(text(), L"e\rf");
  expect_colors({{L"e\rf", ColorRole::rx_payload}});
  view_.trim_head(0);
  EXPECT_EQ(text(), L"e\rf");
  view_.trim_head(100);
  EXPECT_EQ(text(), L"");
  EXPECT_EQ(view_.line_count(), 0u);
}

TEST_F(ReceiveViewTest, LinesAreCountedAsTheViewWrapsThem) {
  EXPECT_EQ(view_.line_count(), 0u);
  view_.append(batch_of({{L"one", ColorRole::normal}}));
  EXPECT_EQ(view_.line_count(), 1u);
  view_.append(batch_of({{L"\r\ntwo\r\n", ColorRole::normal}}));
  EXPECT_EQ(view_.line_count(), 3u);
  view_.append(batch_of({{std::wstring(400, L'x'), ColorRole::normal}}));
  EXPECT_LT(4u, view_.line_count());
  view_.clear();
  EXPECT_EQ(view_.line_count(), 0u);
}

const Runs kOneOfEach{{L"normal\r", ColorRole::normal},        {L"rx {1}\r", ColorRole::rx_payload},
                      {L"tx \uD55C\r", ColorRole::tx_payload}, {L"[RX] ", ColorRole::header},
                      {L"<CR><LF>", ColorRole::control},       {L"[LATE]\r", ColorRole::late},
                      {L"[TIMEOUT]", ColorRole::timeout}};

TEST_F(ReceiveViewTest, AnotherAppearanceAndBackChangesColoursAlone) {
  view_.append(batch_of(kOneOfEach));
  for (int i = 0; i < 10; ++i)
    view_.append(lines(10 * i, 10));
  edit_.select(30, 40);
  edit_.send(EM_LINESCROLL, 0, 20 - first_visible_line());
  const std::wstring before = text();
  const POINT scroll = edit_.scroll_position();
  ASSERT_LT(0, scroll.y);
  const auto background = static_cast<COLORREF>(edit_.send(EM_SETBKGNDCOLOR, 0, 0));
  EXPECT_EQ(background, GetSysColor(COLOR_WINDOW));

  for (const Appearance appearance :
       {Appearance::dark, Appearance::light, Appearance::dark, Appearance::light}) {
    SCOPED_TRACE(static_cast<int>(appearance));
    edit_.select(30, 40);
    edit_.set_scroll_position(scroll);
    view_.set_appearance(appearance);
    EXPECT_EQ(text(), before);
    EXPECT_EQ(edit_.selection().cpMin, 30);
    EXPECT_EQ(edit_.selection().cpMax, 40);
    EXPECT_EQ(edit_.scroll_position().y, scroll.y);
    EXPECT_EQ(static_cast<COLORREF>(edit_.send(EM_SETBKGNDCOLOR, 0, 0)),
              appearance == Appearance::dark ? RGB(30, 30, 30) : background);
    expect_colors(kOneOfEach, appearance);
    const CHARFORMAT2W format = format_of(0, edit_.length());
    EXPECT_EQ(format.yHeight, 200) << "one size, the old one";
    EXPECT_STREQ(format.szFaceName, kFixedFace);
  }
}

TEST_F(ReceiveViewTest, TextThatComesLaterHasTheColoursOfTheAppearance) {
  view_.set_appearance(Appearance::dark);
  view_.append(batch_of(kOneOfEach));
  view_.append(batch_of({{L"\r", ColorRole::timeout}}));
  view_.append(batch_of({{L"more", ColorRole::rx_payload}}));
  Runs expected = kOneOfEach;
  expected.push_back({L"\r", ColorRole::timeout});
  expected.push_back({L"more", ColorRole::rx_payload});
  expect_colors(expected, Appearance::dark);
}

TEST_F(ReceiveViewTest, TheAppearanceInForceIsNotSetAgain) {
  view_.append(batch_of(kOneOfEach));
  const StreamFault fault{control_, EM_STREAMOUT, Fault::error_at_once};
  view_.set_appearance(Appearance::light);
  EXPECT_EQ(fault.streams(), 0);
}

TEST_F(ReceiveViewTest, WhatCannotBeRecolouredStaysWholeAndSaysWhy) {
  struct Case {
    UINT message;
    Fault kind;
    const char* reason;
  };
  const Case cases[]{
      {EM_STREAMOUT, Fault::error_at_once, "Could not read receive colors for the theme change."},
      {EM_STREAMOUT, Fault::without_table, "Could not find the receive color table."},
      {EM_STREAMIN, Fault::error_at_once, "Could not apply receive colors for the theme change."},
      {EM_STREAMIN, Fault::error_after_some, "Could not apply receive colors for the theme change."},
      {EM_STREAMIN, Fault::silently_short, "Could not apply receive colors for the theme change."},
  };
  for (const Case& named : cases) {
    SCOPED_TRACE(named.reason);
    view_.clear();
    view_.append(batch_of(kOneOfEach));
    const std::wstring before = text();
    edit_.select(3, 9);
    {
      const StreamFault fault{control_, named.message, named.kind};
      try {
        view_.set_appearance(Appearance::dark);
        ADD_FAILURE() << "no error";
      } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), named.reason);
      }
    }
    EXPECT_EQ(text(), before);
    EXPECT_EQ(edit_.selection().cpMin, 3);
    EXPECT_EQ(edit_.selection().cpMax, 9);
    view_.append(batch_of({{L"\r", ColorRole::normal}, {L"later", ColorRole::rx_payload}}));
    Runs expected = kOneOfEach;
    expected.push_back({L"\r", ColorRole::normal});
    expected.push_back({L"later", ColorRole::rx_payload});
    expect_colors(expected);
    EXPECT_NE(GetWindowLongW(control_, GWL_STYLE) & WS_VISIBLE, 0) << "redrawing is on again";
  }
}

}  // namespace
}  // namespace hvt::test
