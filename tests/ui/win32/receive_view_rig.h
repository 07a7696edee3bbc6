#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <richedit.h>

#include <string>
#include <vector>

#include "display/rtf.h"
#include "face_rig.h"
#include "ui/win32/rich_edit.h"

namespace hvt::test {

using Runs = std::vector<DisplayRun>;

inline DisplayBatch batch_of(const Runs& runs) {
  DisplayBatch batch;
  for (const DisplayRun& run : runs)
    batch.add(run.text, run.role);
  return batch;
}

// "line 7" and so on, of two roles in turn.
inline DisplayBatch lines(int first, int count) {
  DisplayBatch batch;
  for (int i = first; i < first + count; ++i) {
    std::wstring line{L"line "};
    line.append(std::to_wstring(i)).append(L"\r\n");
    batch.add(line, i % 2 == 0 ? ColorRole::normal : ColorRole::rx_payload);
  }
  return batch;
}

// The window's receive view, some fourteen lines high, with the control underneath for looking at what it
// holds.
class ReceiveViewTest : public testing::Test {
 protected:
  ReceiveViewTest() {
    Placement placement{};
    placement[index_of(ControlId::receive_view)] = {0, 0, 500, 200};
    face_.window.place(placement);
  }

  std::wstring text() const { return edit_.text(0, edit_.length()); }

  void append_following(const DisplayBatch& batch) {
    view_.begin_update();
    view_.append(batch);
    view_.end_update({.follow = true});
  }

  LRESULT first_visible_line() const { return edit_.send(EM_GETFIRSTVISIBLELINE); }
  bool end_in_view() const {
    RECT client{};
    GetClientRect(control_, &client);
    const LONG y = edit_.position_of(edit_.length()).y;
    return y >= 0 && y < client.bottom;
  }

  // Moves the selection.
  CHARFORMAT2W format_of(LONG begin, LONG end) {
    edit_.select(begin, end);
    return edit_.character_format();
  }
  // Moves the selection.
  void expect_colors(const Runs& expected, Appearance appearance = Appearance::light) {
    LONG begin = 0;
    for (const DisplayRun& run : expected) {
      const LONG end = begin + static_cast<LONG>(run.text.size());
      const CHARFORMAT2W format = format_of(begin, end);
      EXPECT_NE(format.dwMask & CFM_COLOR, 0u) << "several colours in " << begin << " to " << end;
      EXPECT_EQ(format.crTextColor,
                color_ref(role_color(run.role, appearance, rgb(GetSysColor(COLOR_GRAYTEXT)))))
          << begin << " to " << end;
      begin = end;
    }
  }

  Face face_;
  HWND control_ = face_.native(ControlId::receive_view);
  RichEdit edit_{control_};
  ReceiveView& view_ = face_.window.receive_view();
};

}  // namespace hvt::test
