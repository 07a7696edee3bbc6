#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>

#include "display/display_batch.h"
#include "display/rtf.h"
#include "ui/receive_view.h"
#include "ui/win32/edit_menu.h"
#include "ui/win32/rich_edit.h"
#include "ui/win32/view_anchor.h"

namespace hvt {

// The receive view as a read-only rich edit control; the control is the document.
//
// Promises  text and colour roles appear exactly as appended, each line break as one character; no undo
//           record is ever kept; selection and visible text stay in place unless the end is followed.
// Threads   the interface thread.
// Owns      the text inside the control, not the control: its parent window destroys that.
// Ends      with release() when the control goes; every later call is harmless.
class RichEditView final : public ReceiveView {
 public:
  // `control` is a "RICHEDIT50W" window that nobody else writes to; it goes before this object.
  void attach(HWND control);
  void release() { edit_ = RichEdit{}; }

  // What the view holds and its margin change with it.
  void set_dpi(int dpi);
  Language language() const { return language_; }

  // Opens the view's menu and has what is chosen done.
  using OpenMenu = std::function<void(POINT, const EditMenu&, std::function<void(EditCommand)>)>;
  void on_menu(OpenMenu open) { open_menu_ = std::move(open); }

  void begin_update() override;
  void end_update(const ViewUpdate& update) override;
  std::size_t append(const DisplayBatch& batch) override;
  void trim_head(std::size_t characters) override;
  void remove(std::size_t first, std::size_t count) override;
  void clear() override;
  void go_to_tail() override;
  void on_navigated(std::function<void()> navigated) override { navigated_ = std::move(navigated); }
  std::size_t line_count() const override;
  void set_appearance(Appearance appearance) override;
  void set_font_points(int points) override;
  void set_language(Language language) override { language_ = language; }

 private:
  static LRESULT CALLBACK procedure(HWND control, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                    DWORD_PTR view);
  LRESULT on_message(HWND control, UINT message, WPARAM first, LPARAM second);
  void follow_end(const ViewUpdate& update);
  void stay_in_place(const ViewUpdate& update);
  void tell_navigated() const;
  void apply_font();
  void give_font();
  bool show_menu(LPARAM where);
  void perform(EditCommand command);
  POINT caret_point() const;

  RichEdit edit_;
  int points_ = kFixedPoints;
  int dpi_ = USER_DEFAULT_SCREEN_DPI;
  Language language_ = Language::english;
  Appearance appearance_ = Appearance::light;
  RoleColors colors_{};  // of the text held
  COLORREF surface_ = 0;
  std::function<void()> navigated_;
  OpenMenu open_menu_;
  int updates_ = 0;  // begin_update() calls that still wait for their end
  ViewAnchor before_;
};

}  // namespace hvt
