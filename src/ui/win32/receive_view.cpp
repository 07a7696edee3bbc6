#include "ui/win32/receive_view.h"

#include <commctrl.h>
#include <richedit.h>
#include <windowsx.h>

#include <algorithm>
#include <cwchar>
#include <limits>
#include <string>
#include <utility>

#include "display/palette.h"
#include "ui/win32/automatic_scrolling.h"
#include "ui/win32/colored_text.h"
#include "ui/win32/look.h"
#include "ui/win32/text_object_model.h"
#include "ui/win32/view_navigation.h"

namespace hvt {
namespace {

constexpr int kTwipsPerPoint = 20;
constexpr int kLeftMargin = 4;  // logical pixels

RoleColors system_role_colors(Appearance appearance) {
  return role_colors(appearance, rgb(GetSysColor(COLOR_GRAYTEXT)));
}

COLORREF background(Appearance appearance) {
  return appearance == Appearance::light ? GetSysColor(COLOR_WINDOW) : color_ref(kDarkSurface);
}

// A group of changes that also ends when an exception leaves it.
class InPlaceUpdate {
 public:
  explicit InPlaceUpdate(ReceiveView& view) : view_(view) { view_.begin_update(); }
  ~InPlaceUpdate() { view_.end_update({.repaint = false}); }
  InPlaceUpdate(const InPlaceUpdate&) = delete;
  InPlaceUpdate& operator=(const InPlaceUpdate&) = delete;

 private:
  ReceiveView& view_;
};

}  // namespace

void RichEditView::attach(HWND control) {
  edit_ = RichEdit{control};
  colors_ = system_role_colors(appearance_);
  SetWindowSubclass(control, procedure, 1, reinterpret_cast<DWORD_PTR>(this));
  suspend_undo(control);
  edit_.send(EM_EXLIMITTEXT, 0, std::numeric_limits<LONG>::max() - 1);
  edit_.send(EM_SETTYPOGRAPHYOPTIONS, 0, TO_ADVANCEDTYPOGRAPHY);
  surface_ = background(appearance_);
  edit_.send(EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(surface_));
}

void RichEditView::set_dpi(int dpi) {
  dpi_ = dpi;
  apply_font();
}

void RichEditView::set_font_points(int points) {
  const int usable = std::clamp(points, kMinFontPoints, kMaxFontPoints);
  if (usable == points_) return;
  points_ = usable;
  apply_font();
}

void RichEditView::apply_font() {
  if (edit_.window() == nullptr) return;
  give_font();
  InvalidateRect(edit_.window(), nullptr, TRUE);  // smaller text leaves room that nobody else paints
}

void RichEditView::give_font() {
  const InPlaceUpdate update{*this};
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  format.dwMask = CFM_FACE | CFM_SIZE | CFM_CHARSET | CFM_BOLD | CFM_ITALIC;
  format.yHeight = points_ * kTwipsPerPoint;
  format.bCharSet = DEFAULT_CHARSET;
  std::wcsncpy(format.szFaceName, kFixedFace, LF_FACESIZE - 1);
  edit_.send(EM_SETCHARFORMAT, SCF_DEFAULT, reinterpret_cast<LPARAM>(&format));
  if (edit_.length() > 0) edit_.send(EM_SETCHARFORMAT, SCF_ALL, reinterpret_cast<LPARAM>(&format));
  edit_.send(EM_SETMARGINS, EC_LEFTMARGIN, MulDiv(kLeftMargin, dpi_, USER_DEFAULT_SCREEN_DPI));
}

// Changing text and selection scrolls, so the place is noted before the first change and restored once.
void RichEditView::begin_update() {
  if (updates_++ > 0 || edit_.window() == nullptr) return;
  before_ = ViewAnchor{edit_};
  edit_.send(WM_SETREDRAW, FALSE);
  set_automatic_scrolling(edit_, AutomaticScrolling::off);
}

void RichEditView::end_update(const ViewUpdate& update) {
  if (updates_ == 1 && edit_.window() != nullptr) {
    if (update.follow) {
      follow_end(update);
    } else {
      stay_in_place(update);
    }
  }
  updates_ = std::max(0, updates_ - 1);
}

void RichEditView::follow_end(const ViewUpdate& update) {
  const LONG end = edit_.length();
  edit_.select(end, end);
  if (!update.scroll) before_.restore_place(edit_);
  set_automatic_scrolling(edit_, AutomaticScrolling::on);
  edit_.send(WM_SETREDRAW, TRUE);
  if (update.scroll) edit_.send(EM_SCROLLCARET);
  if (update.repaint) {
    RedrawWindow(edit_.window(), nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME | RDW_UPDATENOW);
  }
}

void RichEditView::stay_in_place(const ViewUpdate& update) {
  before_.restore_selection(edit_);
  before_.restore_place(edit_);
  set_automatic_scrolling(edit_, AutomaticScrolling::on);
  edit_.send(WM_SETREDRAW, TRUE);
  before_.restore_unpainted(edit_);
  if (update.repaint) UpdateWindow(edit_.window());
}

std::size_t RichEditView::append(const DisplayBatch& batch) {
  const DisplayBatch text = with_paragraph_marks(batch);
  if (edit_.window() == nullptr || text.characters() == 0) return 0;
  const InPlaceUpdate update{*this};
  const LONG before = edit_.length();
  append_colored(edit_, text, colors_);
  return static_cast<std::size_t>(std::max<LONG>(0, edit_.length() - before));
}

void RichEditView::trim_head(std::size_t characters) {
  const LONG held = edit_.length();
  if (characters == 0 || held == 0) return;
  if (characters >= static_cast<std::size_t>(held)) return clear();
  remove(0, characters);
}

void RichEditView::remove(std::size_t first, std::size_t count) {
  if (edit_.window() == nullptr || count == 0) return;
  const InPlaceUpdate update{*this};
  const auto begin = static_cast<LONG>(first);
  const auto removed = static_cast<LONG>(count);
  edit_.select(begin, begin + removed);
  edit_.replace_selection(L"");
  before_.text_taken(begin, removed);
}

void RichEditView::clear() {
  if (edit_.window() == nullptr) return;
  const bool updating = updates_ > 0;
  SetWindowTextW(edit_.window(), L"");
  edit_.send(EM_SETTYPOGRAPHYOPTIONS, 0, TO_ADVANCEDTYPOGRAPHY);
  if (updating) before_ = ViewAnchor{edit_};
}

// The keyboard comes along: the button that was pressed is disabled next, and Clear stands behind it.
void RichEditView::go_to_tail() {
  const HWND focus = GetFocus();
  if (focus != nullptr && GetParent(focus) == GetParent(edit_.window())) SetFocus(edit_.window());
  const LONG end = edit_.length();
  edit_.select(end, end);
  edit_.send(EM_SCROLLCARET);
}

std::size_t RichEditView::line_count() const {
  return edit_.length() == 0 ? 0 : static_cast<std::size_t>(edit_.send(EM_GETLINECOUNT));
}

// When the text cannot be recoloured, all stays in the appearance that it has.
void RichEditView::set_appearance(Appearance appearance) {
  const RoleColors colors = system_role_colors(appearance);
  const COLORREF surface = background(appearance);
  if (appearance == appearance_ && colors == colors_ && surface == surface_) return;
  if (edit_.window() != nullptr) {
    const InPlaceUpdate update{*this};
    recolor(edit_, colors_, colors);
    edit_.send(EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(surface));
  }
  surface_ = surface;
  appearance_ = appearance;
  colors_ = colors;
  if (edit_.window() != nullptr) InvalidateRect(edit_.window(), nullptr, TRUE);
}

LRESULT CALLBACK RichEditView::procedure(HWND control, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                         DWORD_PTR view) {
  return reinterpret_cast<RichEditView*>(view)->on_message(control, message, first, second);
}

LRESULT RichEditView::on_message(HWND control, UINT message, WPARAM first, LPARAM second) {
  // The control keeps this click to itself; the system's handling makes WM_CONTEXTMENU of it.
  if (message == WM_RBUTTONUP) return DefWindowProcW(control, message, first, second);
  if (message == WM_CONTEXTMENU && show_menu(second)) return 0;
  if (leaves_end(edit_, message, first)) tell_navigated();
  if (!may_leave_end(message, first)) return DefSubclassProc(control, message, first, second);
  const LONG scroll_before = edit_.scroll_position().y;
  const LRESULT result = DefSubclassProc(control, message, first, second);
  if (has_left_end(edit_, scroll_before)) tell_navigated();
  return result;
}

void RichEditView::tell_navigated() const {
  if (updates_ == 0 && navigated_) navigated_();
}

// `where` is that of WM_CONTEXTMENU. False for a place beside the text: the scroll bar has a menu of its own.
bool RichEditView::show_menu(LPARAM where) {
  POINT point{GET_X_LPARAM(where), GET_Y_LPARAM(where)};
  if (point.x == -1 && point.y == -1) {  // from the keyboard
    point = caret_point();
  } else {
    RECT client{};
    GetClientRect(edit_.window(), &client);
    MapWindowPoints(edit_.window(), nullptr, reinterpret_cast<POINT*>(&client), 2);
    if (!PtInRect(&client, point)) return false;
  }
  const CHARRANGE chosen = edit_.selection();
  const EditMenu menu{false, chosen.cpMin != chosen.cpMax, edit_.length() > 0};
  if (open_menu_) open_menu_(point, menu, [this](EditCommand command) { perform(command); });
  return true;
}

void RichEditView::perform(EditCommand command) {
  if (command == EditCommand::copy) edit_.send(WM_COPY);
  if (command != EditCommand::select_all) return;
  edit_.select(0, -1);
  tell_navigated();
}

// The end of the selection on the screen, or the nearest place that is in view.
POINT RichEditView::caret_point() const {
  const POINTL end = edit_.position_of(edit_.selection().cpMax);
  RECT client{};
  GetClientRect(edit_.window(), &client);
  POINT point{std::clamp(end.x, client.left, std::max(client.left, client.right)),
              std::clamp(end.y, client.top, std::max(client.top, client.bottom))};
  ClientToScreen(edit_.window(), &point);
  return point;
}

}  // namespace hvt
