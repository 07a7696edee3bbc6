#pragma once

#include <windows.h>

#include <commctrl.h>

#include <map>
#include <string>
#include <string_view>

#include "ui/win32/look.h"

namespace hvt {

// The tool tips of a window: the whole text of the status line where the line cannot show it, and fixed texts
// of other controls.
//
// Promises  the tip is what set() said last, and for the status line what it holds when the pointer comes to
//           rest on it.
// Threads   the interface thread.
// Owns      the text being shown, not the native tool tip: that goes with its parent window.
class ToolTips {
 public:
  // `parent` hands TTN_GETDISPINFOW notifications to answer().
  void create(HWND parent, HWND status);
  void answer(NMTTDISPINFOW& question);
  // A control's tip; empty for none. Never the status line.
  void set(HWND control, std::wstring_view text);
  void set_look(const Look& look);
  // None is shown while an open list or menu would be covered.
  void set_shown(bool shown);

 private:
  TTTOOLINFOW tool_of(HWND control) const;

  HWND parent_ = nullptr;
  HWND tip_ = nullptr;
  HWND status_ = nullptr;
  std::map<HWND, std::wstring> texts_;
  std::wstring text_;  // being shown
  bool shown_ = true;
};

}  // namespace hvt
