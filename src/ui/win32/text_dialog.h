#pragma once

#include <windows.h>

#include <functional>
#include <utility>

#include "ui/dialogs.h"
#include "ui/win32/accessible_names.h"
#include "ui/win32/fonts.h"
#include "ui/win32/look.h"
#include "ui/win32/rich_edit.h"
#include "ui/win32/title_bar.h"

namespace hvt {

// A window beside the main one that tells something at length: text to scroll, select and copy, a button for
// a link and one that closes. Modeless, resizable; Escape closes it.
//
// Promises  shows what show() said last in the colours of `look`; after it is closed it can be shown again.
// Threads   the interface thread.
// Owns      its window and fonts.
// Ends      with Close, Escape, the owner's window or the object.
class TextDialog {
 public:
  // `link` is called when the link is pressed, and must not throw.
  TextDialog(const Look& look, AccessibleNames& names, std::function<void()> link);
  ~TextDialog();
  TextDialog(const TextDialog&) = delete;
  TextDialog& operator=(const TextDialog&) = delete;

  // Opens it over its owner, or gives the open one another content, and brings it to the front.
  void show(HWND owner, const DialogContent& content);
  // While it is open.
  void set_content(const DialogContent& content);
  void close();
  // Called once, when the window is about to go.
  void before_closing(std::function<void()> closing) { closing_ = std::move(closing); }
  HWND window() const { return window_; }
  // `look` holds other colours now.
  void repaint();

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM first, LPARAM second);
  LRESULT on_message(HWND window, UINT message, WPARAM first, LPARAM second);
  void create(HWND owner);
  void write_text();
  void use_fonts();
  void place_over(HWND owner);
  void arrange();
  void on_command(int id);

  const Look& look_;
  AccessibleNames& names_;
  const std::function<void()> link_;
  std::function<void()> closing_;
  TitleBar title_bar_;
  Fonts fonts_;
  DialogContent content_;
  HWND window_ = nullptr;
  HWND link_button_ = nullptr;
  HWND close_button_ = nullptr;
  HWND last_focus_ = nullptr;  // the child to return to when the window becomes active again
  RichEdit text_;
};

}  // namespace hvt
