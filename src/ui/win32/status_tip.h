#pragma once

#include <windows.h>

#include <commctrl.h>

#include <string>

namespace hvt {

// Tool tip of the status line: the whole text where the line cannot show it.
//
// Promises  shows what the line holds when the pointer comes to rest on it.
// Threads   the interface thread.
// Owns      the text being shown, not the native tool tip: that goes with its parent window.
class StatusTip {
 public:
  // `parent` hands TTN_GETDISPINFOW notifications to answer().
  void create(HWND parent, HWND status);
  void answer(NMTTDISPINFOW& question);

 private:
  HWND status_ = nullptr;
  std::wstring text_;
};

}  // namespace hvt
