#pragma once

#include <windows.h>

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "ui/controls.h"
#include "ui/layout.h"
#include "ui/win32/fonts.h"
#include "ui/win32/look.h"

namespace hvt {

inline constexpr int kFirstControlId = 1000;  // native id of row 0 of kControls

constexpr int native_id(ControlId id) {
  return kFirstControlId + static_cast<int>(index_of(id));
}
// Empty for an id that belongs to no control of the table.
std::optional<ControlId> control_of(int native_id);

std::wstring window_text(HWND window);
// A caption of a button in which "&" marks no shortcut letter.
std::wstring literal_caption(std::wstring_view caption);

// The native control of every row of kControls, created as hidden or shown children in table order, which is
// the tab order.
//
// Promises  creates all or throws std::runtime_error "Could not create a Windows control.".
// Threads   the interface thread.
// Owns      nothing: the parent window destroys its children. forget() makes every later use harmless.
class NativeControls {
 public:
  // `look` outlives the controls.
  void create(HWND parent, const Look& look);
  void forget() { handles_ = {}; }

  HWND operator[](ControlId id) const { return handles_[index_of(id)]; }
  void set_fonts(const Fonts& fonts);
  // Of a control that has one; every character is shown as it is. Only another text is written.
  void set_caption(ControlId id, std::wstring_view caption);
  void set_choices(ControlId id, std::span<const std::wstring> entries, std::optional<std::size_t> selected,
                   std::wstring_view placeholder);
  // Moves every control that has a rectangle in one step.
  void place(const Placement& placement);
  // Widths of the texts as shown now; fields, the receive view and the status line need none.
  Metrics measure(const Fonts& fonts) const;

 private:
  std::array<HWND, kControlCount> handles_{};
  std::array<std::wstring, kControlCount> texts_;  // captions, and the placeholders of choices
};

}  // namespace hvt
