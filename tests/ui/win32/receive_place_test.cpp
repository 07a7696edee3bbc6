// Risks: a view that jumps, loses its selection or flickers while text arrives below it; a view that does not
// follow; a person's move that goes unnoticed, or a change by the program that is taken for one.

#include <windows.h>

#include <gtest/gtest.h>
#include <richedit.h>

#include <functional>
#include <string>
#include <vector>

#include "receive_view_rig.h"
#include "ui/win32/text_object_model.h"

namespace hvt::test {
namespace {

class ReceivePlace : public ReceiveViewTest {
 protected:
  ReceivePlace() {
    view_.on_navigated([this] { ++navigated_; });
  }

  // A person at line 20 of 100, nothing left to paint.
  void read_in_the_middle() {
    append_following(lines(0, 100));
    edit_.select(150, 150);
    edit_.send(EM_LINESCROLL, 0, 20 - first_visible_line());
    UpdateWindow(control_);
  }

  void key(WPARAM code, bool control = false) {
    BYTE before[256]{};
    GetKeyboardState(before);
    BYTE held[256]{};
    std::copy(before, before + 256, held);
    held[VK_CONTROL] = control ? 0x80 : 0;
    SetKeyboardState(held);
    edit_.send(WM_KEYDOWN, code, 1);
    SetKeyboardState(before);
  }
  void wheel(int clicks, WORD keys = 0) {
    edit_.send(WM_MOUSEWHEEL, MAKEWPARAM(keys, static_cast<WORD>(clicks * WHEEL_DELTA)));
  }
  LPARAM point_of(LONG character) const {
    const POINTL point = edit_.position_of(character);
    return MAKELPARAM(point.x + 1, point.y + 2);
  }
  void click(LONG character) {
    edit_.send(WM_LBUTTONDOWN, MK_LBUTTON, point_of(character));
    edit_.send(WM_LBUTTONUP, 0, point_of(character));
  }
  void drag(LONG from, LONG to) {
    edit_.send(WM_LBUTTONDOWN, MK_LBUTTON, point_of(from));
    edit_.send(WM_MOUSEMOVE, MK_LBUTTON, point_of(to));
    edit_.send(WM_LBUTTONUP, 0, point_of(to));
  }

  int navigated_ = 0;
};

TEST_F(ReceivePlace, ASelectionNeitherMovesTheInsertionNorIsMovedByIt) {
  view_.append(lines(0, 5));
  const std::wstring before = text();
  edit_.select(3, 9);
  view_.append(batch_of({{L"new", ColorRole::tx_payload}, {L"er", ColorRole::late}}));
  view_.append(batch_of({{L"!", ColorRole::tx_payload}}));
  EXPECT_EQ(text(), before + L"newer!");
  EXPECT_EQ(edit_.selection().cpMin, 3);
  EXPECT_EQ(edit_.selection().cpMax, 9);
  view_.trim_head(2);
  EXPECT_EQ(edit_.selection().cpMin, 1) << "the selected characters stay selected";
  EXPECT_EQ(edit_.selection().cpMax, 7);
}

TEST_F(ReceivePlace, WhatIsReadStaysInPlaceToThePixelWhileTextArrives) {
  read_in_the_middle();
  edit_.select(140, 160);
  POINT between_lines = edit_.scroll_position();
  between_lines.y += 5;
  edit_.set_scroll_position(between_lines);
  activate_selection_start(control_);
  const bool tells_direction = selection_start_is_active(control_);  // Wine's control does not
  const LONG top = edit_.position_of(150).y;
  const POINT scroll = edit_.scroll_position();
  for (int i = 0; i < 20; ++i) {
    view_.begin_update();
    view_.append(lines(100 + 10 * i, 5));
    view_.append(batch_of({{std::wstring(300, L'x'), ColorRole::late}, {L"\r\n", ColorRole::control}}));
    view_.append(lines(105 + 10 * i, 5));
    view_.end_update({.follow = false, .repaint = i % 2 == 0});
    ASSERT_EQ(edit_.position_of(150).y, top) << i;
    ASSERT_EQ(edit_.scroll_position().y, scroll.y) << i;
  }
  view_.begin_update();
  view_.trim_head(7 * 5);  // "line 0" to "line 4"
  view_.append(lines(1000, 5));
  view_.end_update({});
  EXPECT_EQ(edit_.position_of(150 - 7 * 5).y, top) << "the same text is at the same place";
  EXPECT_EQ(edit_.selection().cpMin, 140 - 7 * 5);
  EXPECT_EQ(edit_.selection().cpMax, 160 - 7 * 5);
  EXPECT_EQ(selection_start_is_active(control_), tells_direction);
  EXPECT_EQ(navigated_, 0);
}

RECT unpainted(HWND window) {
  RECT result{};
  GetUpdateRect(window, &result, FALSE);
  return result;
}

TEST_F(ReceivePlace, OnlyWhatWaitedIsRepaintedWhenTextArrivesOutOfSight) {
  face_.window.show();
  read_in_the_middle();
  ASSERT_FALSE(GetUpdateRect(control_, nullptr, FALSE));
  const RECT waiting{10, 20, 60, 50};
  InvalidateRect(control_, &waiting, TRUE);
  view_.begin_update();
  view_.append(lines(100, 50));
  view_.end_update({.follow = false, .repaint = false});
  const RECT left = unpainted(control_);
  EXPECT_TRUE(EqualRect(&left, &waiting))
      << left.left << "," << left.top << " " << left.right << "," << left.bottom;
  view_.begin_update();
  view_.append(lines(150, 50));
  view_.end_update({.follow = false, .repaint = true});
  EXPECT_FALSE(GetUpdateRect(control_, nullptr, FALSE)) << "painted by then";
}

TEST_F(ReceivePlace, TextThatComesIntoViewIsRepaintedFromItsLineOn) {
  face_.window.show();
  append_following(lines(0, 3));
  UpdateWindow(control_);
  const LONG y = edit_.position_of(edit_.length()).y;
  view_.begin_update();
  view_.append(lines(3, 2));
  view_.end_update({.follow = false, .repaint = false});
  RECT client{};
  GetClientRect(control_, &client);
  EXPECT_EQ(unpainted(control_).top, y);
  EXPECT_EQ(unpainted(control_).bottom, client.bottom);
  UpdateWindow(control_);
  view_.trim_head(7);
  EXPECT_EQ(unpainted(control_).top, 0) << "the text at the top is another one";
}

std::vector<COLORREF> pixels_of(HWND window) {
  RECT client{};
  GetClientRect(window, &client);
  const HDC dc = GetDC(window);
  std::vector<COLORREF> result;
  for (int y = 0; y < client.bottom; y += 2) {
    for (int x = 0; x < client.right; x += 2)
      result.push_back(GetPixel(dc, x, y));
  }
  ReleaseDC(window, dc);
  return result;
}

TEST_F(ReceivePlace, WhatIsReadKeepsItsPixelsWhileTheThumbShrinks) {
  face_.window.show();
  read_in_the_middle();
  edit_.select(150, 170);
  UpdateWindow(control_);
  const auto thumb = [&] {
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    GetScrollInfo(control_, SB_VERT, &info);
    return static_cast<double>(info.nPage) / (info.nMax - info.nMin);
  };
  const auto before = pixels_of(control_);
  const double thumb_before = thumb();
  for (int i = 0; i < 5; ++i) {
    view_.begin_update();
    view_.append(lines(100 + 20 * i, 20));
    view_.end_update({});
  }
  EXPECT_EQ(pixels_of(control_) == before, true);
  EXPECT_LT(thumb(), thumb_before * 0.7);
  EXPECT_GT(std::count(before.begin(), before.end(), before.front()), 1000) << "a picture with a background";
  EXPECT_LT(std::count(before.begin(), before.end(), before.front()),
            static_cast<std::ptrdiff_t>(before.size()));
}

TEST_F(ReceivePlace, FollowingPutsTheCaretAtTheEndAndScrollsWhenTold) {
  append_following(lines(0, 100));
  EXPECT_TRUE(end_in_view());
  const LRESULT top = first_visible_line();
  view_.begin_update();
  view_.append(lines(100, 40));
  view_.end_update({.follow = true, .scroll = false, .repaint = false});
  EXPECT_EQ(first_visible_line(), top);
  EXPECT_EQ(edit_.selection().cpMin, edit_.length());
  view_.begin_update();
  view_.append(lines(140, 1));
  view_.trim_head(70);
  view_.end_update({.follow = true});
  EXPECT_TRUE(end_in_view());
  EXPECT_EQ(edit_.selection().cpMin, edit_.length());
  EXPECT_EQ(navigated_, 0);
}

TEST_F(ReceivePlace, GoingToTheTailLeavesSelectionAndPlace) {
  read_in_the_middle();
  edit_.select(140, 160);
  EXPECT_FALSE(end_in_view());
  view_.go_to_tail();
  EXPECT_TRUE(end_in_view());
  EXPECT_EQ(edit_.selection().cpMin, edit_.length());
  EXPECT_EQ(edit_.selection().cpMax, edit_.length());
  EXPECT_EQ(navigated_, 0);
}

TEST_F(ReceivePlace, GroupsMayBeNestedAndClearedWithin) {
  append_following(lines(0, 100));
  view_.begin_update();
  view_.append(lines(100, 5));
  view_.begin_update();
  view_.clear();
  view_.end_update({});
  view_.append(lines(0, 2));
  view_.end_update({});
  EXPECT_EQ(text(), L"line 0\rline 1\r");
  EXPECT_EQ(edit_.scroll_position().y, 0);
  view_.end_update({});  // one too many
  append_following(lines(2, 100));
  EXPECT_TRUE(end_in_view());
}

struct Action {
  const char* name;
  std::function<void()> act;
  bool leaves;
};

// Each starts while the view follows.
void expect_navigation(const std::vector<Action>& actions, const std::function<void()>& begin,
                       const int& count) {
  for (const Action& action : actions) {
    begin();
    const int before = count;
    action.act();
    EXPECT_EQ(count > before, action.leaves) << action.name;
  }
}

TEST_F(ReceivePlace, APersonLeavesTheEndOfManyLinesBySpecificMoves) {
  const auto scroll = [&](WORD code) { return [this, code] { edit_.send(WM_VSCROLL, code); }; };
  const std::vector<Action> actions{
      {"line up", scroll(SB_LINEUP), true},
      {"page up", scroll(SB_PAGEUP), true},
      {"thumb", scroll(SB_THUMBTRACK), true},
      {"the end of a scroll", scroll(SB_ENDSCROLL), false},
      {"press on the scroll bar",
       [&] {
         PostMessageW(control_, WM_LBUTTONUP, 0, 0);
         edit_.send(WM_NCLBUTTONDOWN, HTVSCROLL, 0);
       },
       true},
      {"press on the frame",
       [&] {
         PostMessageW(control_, WM_LBUTTONUP, 0, 0);
         edit_.send(WM_NCLBUTTONDOWN, HTBORDER, 0);
       },
       false},
      {"wheel up", [&] { wheel(1); }, true},
      {"wheel down", [&] { wheel(-1); }, false},
      {"zoom", [&] { wheel(1, MK_CONTROL); }, false},
      {"Up", [&] { key(VK_UP); }, true},
      {"Page Up", [&] { key(VK_PRIOR); }, true},
      {"Ctrl+Home", [&] { key(VK_HOME, true); }, true},
      {"Left out of the last paragraph", [&] { key(VK_LEFT); }, true},
      {"End", [&] { key(VK_END); }, false},
      {"Down", [&] { key(VK_DOWN); }, false},
      {"click in the last paragraph", [&] { click(edit_.length()); }, false},
      {"click in an older one", [&] { click(edit_.length() - 20); }, true},
      {"selection by mouse", [&] { drag(edit_.length() - 20, edit_.length()); }, true},
      {"mouse without a button", [&] { edit_.send(WM_MOUSEMOVE, 0, MAKELPARAM(10, 10)); }, false},
  };
  append_following(lines(0, 100));
  expect_navigation(
      actions, [&] { view_.go_to_tail(); }, navigated_);
}

TEST_F(ReceivePlace, WithinTheLastParagraphOnlyWhatScrollsOrSelectsLeavesTheEnd) {
  const std::vector<Action> actions{
      {"Left", [&] { key(VK_LEFT); }, false},
      {"Home", [&] { key(VK_HOME); }, false},
      {"Up by one line", [&] { key(VK_UP); }, false},
      {"Page Up", [&] { key(VK_PRIOR); }, true},
      {"wheel up", [&] { wheel(1); }, true},
      {"click", [&] { click(edit_.length() - 20); }, false},
      {"selection", [&] { drag(edit_.length() - 20, edit_.length() - 10); }, true},
  };
  append_following(batch_of({{std::wstring(4000, L'x'), ColorRole::normal}}));
  expect_navigation(
      actions, [&] { view_.go_to_tail(); }, navigated_);
}

TEST_F(ReceivePlace, WhereAllIsInViewTheWheelLeadsNowhere) {
  append_following(lines(0, 100));
  view_.clear();
  append_following(lines(0, 3));
  wheel(3);
  EXPECT_EQ(navigated_, 0);
}

TEST_F(ReceivePlace, WhatTheProgramDoesIsNoNavigation) {
  auto& view = static_cast<RichEditView&>(view_);
  read_in_the_middle();
  view_.append(lines(100, 50));
  view_.trim_head(100);
  append_following(lines(150, 50));
  view_.set_appearance(Appearance::dark);
  view.set_dpi(192);
  view_.set_font_points(12);
  Placement placement{};
  placement[index_of(ControlId::receive_view)] = {0, 0, 300, 100};
  face_.window.place(placement);
  view_.go_to_tail();
  view_.line_count();
  view_.clear();
  append_following(lines(0, 5));
  EXPECT_EQ(navigated_, 0);
}

}  // namespace
}  // namespace hvt::test
