#include "ui/win32/view_anchor.h"

#include <algorithm>

#include "ui/win32/text_object_model.h"

namespace hvt {
namespace {

SCROLLINFO scroll_bar_of(HWND window) {
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  GetScrollInfo(window, SB_VERT, &info);
  return info;
}

bool same_thumb(const SCROLLINFO& a, const SCROLLINFO& b) {
  return a.nMin == b.nMin && a.nMax == b.nMax && a.nPage == b.nPage && a.nPos == b.nPos;
}

}  // namespace

ViewAnchor::ViewAnchor(const RichEdit& edit)
    : selection_(edit.selection()),
      start_is_active_(selection_.cpMin != selection_.cpMax && selection_start_is_active(edit.window())),
      top_character_(
          static_cast<LONG>(edit.send(EM_LINEINDEX, static_cast<WPARAM>(edit.send(EM_GETFIRSTVISIBLELINE))))),
      top_y_(edit.position_of(top_character_).y),
      end_y_(edit.position_of(edit.length()).y),
      bar_(scroll_bar_of(edit.window())),
      unpainted_(CreateRectRgn(0, 0, 0, 0)) {
  GetUpdateRgn(edit.window(), static_cast<HRGN>(unpainted_.get()), FALSE);
}

void ViewAnchor::text_taken(LONG first, LONG count) {
  top_taken_ |= top_character_ >= first && top_character_ < first + count;
  for (LONG* const position : {&selection_.cpMin, &selection_.cpMax, &top_character_})
    *position -= std::clamp<LONG>(*position - first, 0, count);
}

bool ViewAnchor::stands_as_before(const RichEdit& edit) const {
  return edit.position_of(top_character_).y == top_y_;
}

void ViewAnchor::restore_selection(const RichEdit& edit) const {
  edit.select(selection_.cpMin, selection_.cpMax);
  if (start_is_active_) activate_selection_start(edit.window());
}

// Lines first, then the rest of a line in pixels. A tall document's scroll positions are scaled by the
// control, so that one may miss by lines; then a whole line at the top is the nearest there is.
void ViewAnchor::restore_place(const RichEdit& edit) const {
  if (stands_as_before(edit)) return;
  scroll_line_to_top(edit);
  if (stands_as_before(edit)) return;
  POINT position = edit.scroll_position();
  position.y += edit.position_of(top_character_).y - top_y_;
  edit.set_scroll_position(position);
  if (!stands_as_before(edit)) scroll_line_to_top(edit);
}

void ViewAnchor::scroll_line_to_top(const RichEdit& edit) const {
  const LRESULT wanted = edit.send(EM_EXLINEFROMCHAR, 0, top_character_);
  edit.send(EM_LINESCROLL, 0, wanted - edit.send(EM_GETFIRSTVISIBLELINE));
}

void ViewAnchor::restore_unpainted(const RichEdit& edit) const {
  const HWND window = edit.window();
  if (!same_thumb(bar_, scroll_bar_of(window)))
    SendMessageW(window, WM_NCPAINT, 1, 0);  // 1: all of the frame
  if (top_taken_ || !stands_as_before(edit)) {
    InvalidateRect(window, nullptr, TRUE);
    return;
  }
  ValidateRect(window, nullptr);
  InvalidateRgn(window, static_cast<HRGN>(unpainted_.get()), TRUE);
  RECT grown{};
  GetClientRect(window, &grown);
  grown.top = std::max(grown.top, end_y_);
  if (grown.top < grown.bottom) InvalidateRect(window, &grown, TRUE);
}

}  // namespace hvt
