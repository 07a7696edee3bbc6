// Risks: text or colours that land elsewhere than appended (line breaks count as one character in the
// control), a user's selection or scroll position that moves the insertion, a view that jumps while it is not
// followed.

#include <gtest/gtest.h>
#include <richedit.h>

#include <string>
#include <utility>
#include <vector>

#include "display/palette.h"
#include "face_rig.h"

namespace hvt::test {
namespace {

using Runs = std::vector<DisplayRun>;

DisplayBatch batch_of(const Runs& runs) {
  DisplayBatch batch;
  for (const DisplayRun& run : runs)
    batch.add(run.text, run.role);
  return batch;
}

DisplayBatch lines(int first, int count) {
  DisplayBatch batch;
  for (int i = first; i < first + count; ++i) {
    std::wstring line{L"line "};
    line.append(std::to_wstring(i)).append(L"\r\n");
    batch.add(line, i % 2 == 0 ? ColorRole::normal : ColorRole::rx_payload);
  }
  return batch;
}

class ReceiveViewTest : public testing::Test {
 protected:
  ReceiveViewTest() {
    Placement placement{};
    placement[index_of(ControlId::receive_view)] = {0, 0, 500, 200};
    face_.window.place(placement);
  }

  LRESULT send(UINT message, WPARAM first = 0, LPARAM second = 0) const {
    return SendMessageW(control_, message, first, second);
  }
  std::wstring text() const {
    GETTEXTLENGTHEX length{GTL_PRECISE | GTL_NUMCHARS, 1200};
    std::wstring result(
        static_cast<std::size_t>(send(EM_GETTEXTLENGTHEX, reinterpret_cast<WPARAM>(&length))) + 1, L'\0');
    TEXTRANGEW range{{0, -1}, result.data()};
    result.resize(static_cast<std::size_t>(send(EM_GETTEXTRANGE, 0, reinterpret_cast<LPARAM>(&range))));
    return result;
  }
  void select(LONG begin, LONG end) {
    CHARRANGE range{begin, end};
    send(EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  }
  CHARRANGE selection() const {
    CHARRANGE range{};
    send(EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&range));
    return range;
  }
  CHARFORMAT2W format_of(LONG begin, LONG end) {
    select(begin, end);
    CHARFORMAT2W format{};
    format.cbSize = sizeof format;
    send(EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
    return format;
  }
  // Moves the selection.
  void expect_colors(const Runs& expected) {
    LONG begin = 0;
    for (const DisplayRun& run : expected) {
      const LONG end = begin + static_cast<LONG>(run.text.size());
      const CHARFORMAT2W format = format_of(begin, end);
      const COLORREF wanted =
          color_ref(role_color(run.role, Appearance::light, rgb(GetSysColor(COLOR_GRAYTEXT))));
      EXPECT_NE(format.dwMask & CFM_COLOR, 0u) << "several colours in " << begin << " to " << end;
      EXPECT_EQ(format.crTextColor, wanted) << begin << " to " << end;
      begin = end;
    }
  }

  Face face_;
  HWND control_ = face_.native(ControlId::receive_view);
  ReceiveView& view_ = face_.window.receive_view();
};

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

TEST_F(ReceiveViewTest, TheFontSurvivesColouredInsertionsAndNothingCanBeUndone) {
  view_.append(batch_of({{L"abc\r\n", ColorRole::rx_payload}, {L"\uD55C", ColorRole::late}}));
  view_.trim_head(2);
  view_.append(batch_of({{L"def", ColorRole::header}, {L"x", ColorRole::tx_payload}}));
  const CHARFORMAT2W format = format_of(0, static_cast<LONG>(text().size()));
  EXPECT_NE(format.dwMask & CFM_SIZE, 0u) << "one size";
  EXPECT_EQ(format.yHeight, 200);
  EXPECT_EQ(send(EM_CANUNDO), FALSE);
}

TEST_F(ReceiveViewTest, ASelectionNeitherMovesTheInsertionNorIsMovedByIt) {
  view_.append(lines(0, 5));
  const std::wstring before = text();
  select(3, 9);
  view_.append(batch_of({{L"new", ColorRole::tx_payload}, {L"er", ColorRole::late}}));
  EXPECT_EQ(text(), before + L"newer");
  EXPECT_EQ(selection().cpMin, 3);
  EXPECT_EQ(selection().cpMax, 9);
  view_.trim_head(2);
  EXPECT_EQ(selection().cpMin, 1) << "the selected characters stay selected";
  EXPECT_EQ(selection().cpMax, 7);
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

TEST_F(ReceiveViewTest, FollowingShowsTheEndAndOtherwiseTheViewStaysPut) {
  EXPECT_TRUE(view_.at_tail()) << "empty";
  view_.append(lines(0, 3));
  EXPECT_TRUE(view_.at_tail()) << "all in view";
  view_.clear();
  view_.begin_update();
  view_.append(lines(0, 60));
  view_.append(lines(60, 40));
  view_.end_update(true);
  EXPECT_TRUE(view_.at_tail());

  send(WM_VSCROLL, SB_TOP);
  send(EM_LINESCROLL, 0, 20);
  EXPECT_FALSE(view_.at_tail());
  const LRESULT top = send(EM_GETFIRSTVISIBLELINE);
  EXPECT_EQ(top, 20);
  view_.begin_update();
  view_.append(lines(100, 40));
  view_.end_update(false);
  EXPECT_EQ(send(EM_GETFIRSTVISIBLELINE), top);
  view_.begin_update();
  view_.trim_head(7 * 5);  // "line 0" to "line 4"
  view_.end_update(false);
  EXPECT_EQ(send(EM_GETFIRSTVISIBLELINE), top - 5) << "the same text is at the top";
  EXPECT_FALSE(view_.at_tail());

  view_.begin_update();
  view_.end_update(true);
  EXPECT_TRUE(view_.at_tail());
  view_.clear();
  EXPECT_TRUE(view_.at_tail());
  view_.append(lines(0, 3));
  EXPECT_TRUE(view_.at_tail()) << "short again";
}

// While it lives, the entries of every menu that opens on this thread are noted; "-" marks a disabled one.
class MenuWatch {
 public:
  MenuWatch() : hook_(SetWindowsHookExW(WH_CALLWNDPROC, note, nullptr, GetCurrentThreadId())) {}
  ~MenuWatch() { UnhookWindowsHookEx(hook_); }
  MenuWatch(const MenuWatch&) = delete;
  MenuWatch& operator=(const MenuWatch&) = delete;

  std::wstring take() { return std::exchange(seen(), {}); }

 private:
  static std::wstring& seen() {
    static std::wstring text;
    return text;
  }

  static LRESULT CALLBACK note(int code, WPARAM first, LPARAM second) {
    const auto& message = *reinterpret_cast<const CWPSTRUCT*>(second);
    if (message.message == WM_INITMENUPOPUP) {
      const auto menu = reinterpret_cast<HMENU>(message.wParam);
      for (UINT i = 0; i < static_cast<UINT>(GetMenuItemCount(menu)); ++i) {
        wchar_t caption[64]{};
        GetMenuStringW(menu, i, caption, 64, MF_BYPOSITION);
        const bool enabled = (GetMenuState(menu, i, MF_BYPOSITION) & MF_GRAYED) == 0;
        seen().append(enabled ? L"[" : L"-[").append(caption).append(L"]");
      }
    }
    return CallNextHookEx(nullptr, code, first, second);
  }

  HHOOK hook_;
};

std::wstring clipboard_text() {
  std::wstring result;
  if (!OpenClipboard(nullptr)) return result;
  if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
    result = static_cast<const wchar_t*>(GlobalLock(data));
    GlobalUnlock(data);
  }
  CloseClipboard();
  return result;
}

TEST_F(ReceiveViewTest, ItsMenuCopiesAndSelectsInEitherLanguage) {
  MenuWatch menus;
  // The open menu takes the keys that wait by then.
  const auto open_menu = [&](UINT message, LPARAM where, const std::vector<WPARAM>& keys) {
    for (const WPARAM key : keys)
      PostMessageW(control_, WM_KEYDOWN, key, 0);
    send(message, 0, where);
    return menus.take();
  };
  constexpr LPARAM kByKeyboard = -1;
  EXPECT_EQ(open_menu(WM_CONTEXTMENU, kByKeyboard, {VK_ESCAPE}), L"-[Copy]-[Select all]");
  view_.append(batch_of({{L"first\r\nsecond", ColorRole::rx_payload}}));
  select(0, 0);
  EXPECT_EQ(open_menu(WM_RBUTTONUP, MAKELPARAM(20, 20), {VK_UP, VK_RETURN}), L"-[Copy][Select all]");
  EXPECT_EQ(selection().cpMin, 0);
  EXPECT_LE(12, selection().cpMax);
  view_.set_language(Language::korean);
  const std::wstring korean{L"[\xBCF5\xC0AC][\xBAA8\xB450 \xC120\xD0DD]"};
  EXPECT_EQ(open_menu(WM_CONTEXTMENU, kByKeyboard, {VK_DOWN, VK_RETURN}), korean);
  EXPECT_EQ(clipboard_text(), L"first\r\nsecond");

  RECT window{};
  GetWindowRect(control_, &window);
  const LPARAM scroll_bar = MAKELPARAM(window.right - 3, window.top + 40);
  EXPECT_NE(open_menu(WM_CONTEXTMENU, scroll_bar, {VK_ESCAPE}), korean) << "it has a menu of its own";
}

}  // namespace
}  // namespace hvt::test
