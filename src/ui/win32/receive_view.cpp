#include "ui/win32/receive_view.h"

#include <commctrl.h>
#include <richedit.h>
#include <windowsx.h>

#include <algorithm>
#include <cwchar>
#include <limits>
#include <string>

#include "display/palette.h"
#include "ui/win32/painting.h"
#include "ui/win32/text_object_model.h"

namespace hvt {
namespace {

constexpr UINT kUtf16CodePage = 1200;
constexpr int kTwipsPerPoint = 20;
constexpr int kLeftMargin = 4;  // logical pixels

// The control's paragraph mark is one CR: CR LF and a lone LF both become that, also across runs.
DisplayBatch normalised(const DisplayBatch& batch) {
  DisplayBatch result;
  bool after_cr = false;
  std::wstring text;
  for (const DisplayRun run : batch) {
    text.clear();
    for (const wchar_t unit : run.text) {
      if (unit != L'\n') text.push_back(unit);
      if (unit == L'\n' && !after_cr) text.push_back(L'\r');
      after_cr = unit == L'\r';
    }
    result.add(text, run.role);
  }
  return result;
}

enum MenuCommand : UINT { kNoCommand, kCopy, kSelectAll };

// Opens the menu and answers when it is closed.
UINT pick_from_menu(HWND owner, POINT where, Language language, bool may_copy, bool may_select) {
  const HMENU menu = CreatePopupMenu();
  const auto add = [&](MenuCommand command, TextId caption, bool enabled) {
    AppendMenuW(menu, enabled ? MF_STRING : MF_STRING | MF_GRAYED, command,
                std::wstring{text(caption, language)}.c_str());
  };
  add(kCopy, TextId::copy, may_copy);
  add(kSelectAll, TextId::select_all, may_select);
  const BOOL picked =
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, where.x, where.y, 0, owner, nullptr);
  DestroyMenu(menu);
  return static_cast<UINT>(picked);
}

}  // namespace

void RichEditView::attach(HWND control) {
  control_ = control;
  SetWindowSubclass(control, procedure, 1, reinterpret_cast<DWORD_PTR>(this));
  suspend_undo(control);
  send(EM_EXLIMITTEXT, 0, std::numeric_limits<LONG>::max() - 1);
  send(EM_SETTYPOGRAPHYOPTIONS, 0, TO_ADVANCEDTYPOGRAPHY);
  send(EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(GetSysColor(COLOR_WINDOW)));
}

void RichEditView::set_font(const wchar_t* face, int points, int dpi) {
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  format.dwMask = CFM_FACE | CFM_SIZE | CFM_CHARSET | CFM_BOLD | CFM_ITALIC;
  format.yHeight = points * kTwipsPerPoint;
  format.bCharSet = DEFAULT_CHARSET;
  std::wcsncpy(format.szFaceName, face, LF_FACESIZE - 1);
  send(EM_SETCHARFORMAT, SCF_DEFAULT, reinterpret_cast<LPARAM>(&format));
  if (length() > 0) send(EM_SETCHARFORMAT, SCF_ALL, reinterpret_cast<LPARAM>(&format));
  send(EM_SETMARGINS, EC_LEFTMARGIN, MulDiv(kLeftMargin, dpi, USER_DEFAULT_SCREEN_DPI));
}

LRESULT RichEditView::send(UINT message, WPARAM first, LPARAM second) const {
  return control_ == nullptr ? 0 : SendMessageW(control_, message, first, second);
}

LONG RichEditView::length() const {
  GETTEXTLENGTHEX request{GTL_PRECISE | GTL_NUMCHARS, kUtf16CodePage};
  return static_cast<LONG>(send(EM_GETTEXTLENGTHEX, reinterpret_cast<WPARAM>(&request)));
}

void RichEditView::select(LONG begin, LONG end) {
  CHARRANGE range{begin, end};
  send(EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
}

void RichEditView::set_selection_color(ColorRole role) {
  CHARFORMAT2W format{};
  format.cbSize = sizeof format;
  format.dwMask = CFM_COLOR;
  format.crTextColor = color_ref(role_color(role, Appearance::light, rgb(GetSysColor(COLOR_GRAYTEXT))));
  send(EM_SETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
}

// Changing the selection scrolls, so the visible place is noted before the first change and restored once.
void RichEditView::begin_update() {
  if (updates_++ > 0) return;
  send(WM_SETREDRAW, FALSE);
  before_ = anchor();
}

void RichEditView::end_update(bool follow) {
  if (updates_ == 0 || --updates_ > 0) return;
  if (follow) {
    const LONG end = length();
    select(end, end);
  } else {
    restore(before_);
  }
  send(WM_SETREDRAW, TRUE);
  if (follow) send(EM_SCROLLCARET);
  if (control_ != nullptr) RedrawWindow(control_, nullptr, nullptr, RDW_INVALIDATE | RDW_FRAME);
}

ViewAnchor RichEditView::anchor() const {
  ViewAnchor result;
  CHARRANGE range{};
  send(EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&range));
  result.selection_begin = range.cpMin;
  result.selection_end = range.cpMax;
  result.start_is_active = range.cpMin != range.cpMax && selection_start_is_active(control_);
  const auto first_line = static_cast<WPARAM>(send(EM_GETFIRSTVISIBLELINE));
  result.first_visible = static_cast<LONG>(send(EM_LINEINDEX, first_line));
  send(EM_GETSCROLLPOS, 0, reinterpret_cast<LPARAM>(&result.scroll));
  return result;
}

void RichEditView::restore(const ViewAnchor& anchor) {
  const auto moved = [&](LONG position) { return std::max<LONG>(0, position - anchor.trimmed); };
  select(moved(anchor.selection_begin), moved(anchor.selection_end));
  if (anchor.start_is_active) activate_selection_start(control_);
  if (anchor.trimmed == 0) {
    POINT scroll = anchor.scroll;
    send(EM_SETSCROLLPOS, 0, reinterpret_cast<LPARAM>(&scroll));
  }
  // The control scales scroll positions of tall documents, so the line at the top has the last word.
  const auto wanted = send(EM_EXLINEFROMCHAR, 0, moved(anchor.first_visible));
  const auto shown = send(EM_GETFIRSTVISIBLELINE);
  if (wanted != shown) send(EM_LINESCROLL, 0, wanted - shown);
}

std::size_t RichEditView::append(const DisplayBatch& batch) {
  const DisplayBatch text = normalised(batch);
  if (control_ == nullptr || text.characters() == 0) return 0;
  begin_update();
  const LONG before = length();
  insert_at_end(text);
  const LONG added = length() - before;
  end_update(false);
  return static_cast<std::size_t>(std::max<LONG>(0, added));
}

// One insertion in the first run's colour, then the runs that differ are coloured: the control lays out once.
void RichEditView::insert_at_end(const DisplayBatch& text) {
  LONG begin = length();
  select(begin, begin);
  const ColorRole inserted = (*text.begin()).role;
  set_selection_color(inserted);
  send(EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.text().c_str()));
  for (const DisplayRun run : text) {
    const LONG end = begin + static_cast<LONG>(run.text.size());
    if (run.role != inserted) {
      select(begin, end);
      set_selection_color(run.role);
    }
    begin = end;
  }
}

void RichEditView::trim_head(std::size_t characters) {
  const LONG held = length();
  if (characters == 0 || held == 0) return;
  if (characters >= static_cast<std::size_t>(held)) return clear();
  begin_update();
  const auto removed = static_cast<LONG>(characters);
  select(0, removed);
  send(EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(L""));
  before_.trimmed += removed;
  end_update(false);
}

void RichEditView::clear() {
  if (control_ == nullptr) return;
  SetWindowTextW(control_, L"");
  send(EM_SETTYPOGRAPHYOPTIONS, 0, TO_ADVANCEDTYPOGRAPHY);
  before_ = {};
}

bool RichEditView::at_tail() const {
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  info.fMask = SIF_ALL;
  if (control_ == nullptr || !GetScrollInfo(control_, SB_VERT, &info)) return true;
  return info.nPos >= std::max<LONG>(info.nMin, info.nMax - static_cast<int>(info.nPage)) || fits();
}

// A scroll bar that is not needed keeps values from before, so a short text is measured instead.
bool RichEditView::fits() const {
  const LONG end = length();
  const LRESULT lines = send(EM_GETLINECOUNT);
  if (end == 0 || lines < 2) return true;
  if (send(EM_GETFIRSTVISIBLELINE) != 0) return false;
  POINTL first{};
  POINTL last{};
  send(EM_POSFROMCHAR, reinterpret_cast<WPARAM>(&first), 0);
  send(EM_POSFROMCHAR, reinterpret_cast<WPARAM>(&last), end);
  RECT client{};
  GetClientRect(control_, &client);
  return last.y + (last.y - first.y) / (lines - 1) <= client.bottom;
}

std::size_t RichEditView::line_count() const {
  return length() == 0 ? 0 : static_cast<std::size_t>(send(EM_GETLINECOUNT));
}

LRESULT CALLBACK RichEditView::procedure(HWND control, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                         DWORD_PTR view) {
  // The control keeps this click to itself; the system's handling makes WM_CONTEXTMENU of it.
  if (message == WM_RBUTTONUP) return DefWindowProcW(control, message, first, second);
  if (message == WM_CONTEXTMENU && reinterpret_cast<RichEditView*>(view)->show_menu(second)) return 0;
  return DefSubclassProc(control, message, first, second);
}

// `where` is that of WM_CONTEXTMENU. False for a place beside the text: the scroll bar has a menu of its own.
bool RichEditView::show_menu(LPARAM where) {
  POINT point{GET_X_LPARAM(where), GET_Y_LPARAM(where)};
  if (point.x == -1 && point.y == -1) {  // from the keyboard
    point = caret_point();
  } else {
    RECT client{};
    GetClientRect(control_, &client);
    MapWindowPoints(control_, nullptr, reinterpret_cast<POINT*>(&client), 2);
    if (!PtInRect(&client, point)) return false;
  }
  CHARRANGE chosen{};
  send(EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&chosen));
  const UINT command = pick_from_menu(control_, point, language_, chosen.cpMin != chosen.cpMax, length() > 0);
  if (command == kCopy) send(WM_COPY);
  if (command == kSelectAll) select(0, -1);
  return true;
}

// The end of the selection on the screen, or the nearest place that is in view.
POINT RichEditView::caret_point() const {
  CHARRANGE chosen{};
  send(EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&chosen));
  POINTL end{};
  send(EM_POSFROMCHAR, reinterpret_cast<WPARAM>(&end), chosen.cpMax);
  RECT client{};
  GetClientRect(control_, &client);
  POINT point{std::clamp(end.x, client.left, std::max(client.left, client.right)),
              std::clamp(end.y, client.top, std::max(client.top, client.bottom))};
  ClientToScreen(control_, &point);
  return point;
}

}  // namespace hvt
