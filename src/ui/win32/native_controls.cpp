#include "ui/win32/native_controls.h"

#include <commctrl.h>
#include <richedit.h>

#include <algorithm>
#include <stdexcept>

#include "transmit/packet_text.h"
#include "ui/win32/buttons.h"
#include "ui/win32/choice.h"
#include "ui/win32/fields.h"
#include "ui/win32/painted.h"
#include "ui/win32/painting.h"

namespace hvt {
namespace {

constexpr int kVisibleEntries = 20;
constexpr int kOpenListHeight = 400;  // a drop-down list's height counts its open list

struct NativeKind {
  const wchar_t* window_class;
  DWORD style;
};

// Check marks and radio marks are set by the program alone, so none of them is of the automatic kind.
NativeKind native_kind(ControlKind kind) {
  switch (kind) {
    case ControlKind::label:
    case ControlKind::title:
    case ControlKind::counter: return {WC_STATICW, SS_LEFT | SS_CENTERIMAGE | SS_NOPREFIX};
    case ControlKind::status:  // SS_NOTIFY: the mouse is over this control, not over the window behind it
      return {WC_STATICW, SS_LEFT | SS_CENTERIMAGE | SS_NOPREFIX | SS_ENDELLIPSIS | SS_NOTIFY};
    case ControlKind::button:
    case ControlKind::menu_button:
    case ControlKind::bar_button:
    case ControlKind::badge: return {WC_BUTTONW, BS_PUSHBUTTON | WS_TABSTOP};
    case ControlKind::check: return {WC_BUTTONW, BS_CHECKBOX | WS_TABSTOP};
    case ControlKind::radio: return {WC_BUTTONW, BS_RADIOBUTTON};
    case ControlKind::choice: return {WC_COMBOBOXW, kChoiceStyle | WS_TABSTOP};
    case ControlKind::packet_edit: return {WC_EDITW, ES_AUTOHSCROLL | WS_TABSTOP};
    case ControlKind::number_edit: return {WC_EDITW, ES_AUTOHSCROLL | ES_RIGHT | WS_TABSTOP};
    case ControlKind::name_edit: return {WC_EDITW, ES_AUTOHSCROLL | WS_TABSTOP};
    case ControlKind::receive_view:
      return {MSFTEDIT_CLASS, ES_MULTILINE | ES_READONLY | ES_NOHIDESEL | ES_DISABLENOSCROLL |
                                  ES_AUTOVSCROLL | WS_VSCROLL | WS_BORDER | WS_TABSTOP};
  }
  return {WC_STATICW, 0};
}

// Arrow keys walk from a radio button to its neighbours and from nothing else: a run of radio rows is a
// group, every other control is a group of its own.
bool starts_group(std::size_t row) {
  return kControls[row].kind != ControlKind::radio || row == 0 ||
         kControls[row - 1].kind != ControlKind::radio;
}

// The first button of a radio group takes the Tab key until one of them is checked.
DWORD group_style(std::size_t row) {
  if (!starts_group(row)) return 0;
  return kControls[row].kind == ControlKind::radio ? WS_GROUP | WS_TABSTOP : WS_GROUP;
}

HWND create_control(HWND parent, std::size_t row) {
  const NativeKind kind = native_kind(kControls[row].kind);
  const DWORD style = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | kind.style | group_style(row);
  const auto menu = reinterpret_cast<HMENU>(static_cast<INT_PTR>(native_id(kControls[row].id)));
  return CreateWindowExW(0, kind.window_class, L"", style, 0, 0, 0, 0, parent, menu,
                         GetModuleHandleW(nullptr), nullptr);
}

bool has_caption(ControlKind kind) {
  return is_static_text(kind) || is_push(kind);
}

ButtonLook button_look(const ControlRow& row) {
  switch (row.kind) {
    case ControlKind::check: return ButtonLook::check;
    case ControlKind::radio: return ButtonLook::radio;
    case ControlKind::badge: return ButtonLook::badge;
    case ControlKind::menu_button:
    case ControlKind::bar_button: return ButtonLook::flat;
    default: break;
  }
  switch (row.id) {
    case ControlId::connect: return ButtonLook::primary;
    case ControlId::record: return ButtonLook::record;
    case ControlId::follow: return ButtonLook::follow;
    default: return ButtonLook::push;
  }
}

// Characters that a field takes.
std::size_t longest_text(ControlKind kind) {
  switch (kind) {
    case ControlKind::packet_edit: return kMaxPacketCharacters;
    case ControlKind::name_edit: return kMaxNameCharacters;
    default: return kMaxNumberCharacters;
  }
}

void prepare_control(HWND handle, const ControlRow& row, const Look& look) {
  const ThemeColor ground = ground_of(row);
  if (is_push(row.kind)) return make_button(handle, button_look(row), look, ground);
  switch (row.kind) {
    case ControlKind::packet_edit:
    case ControlKind::name_edit:
    case ControlKind::number_edit:
      SendMessageW(handle, EM_LIMITTEXT, longest_text(row.kind), 0);
      return make_field(handle, look, ground, field_surface_of(row));
    case ControlKind::receive_view: return make_receive_field(handle, look);
    case ControlKind::choice:
      SendMessageW(handle, CB_SETMINVISIBLE, kVisibleEntries, 0);
      return make_choice(handle, look, ground);
    default: break;
  }
  make_static_text(
      handle,
      {{&look, ground, false}, text_color_of(row, StatusTone::plain), row.kind == ControlKind::status});
}

}  // namespace

std::optional<ControlId> control_of(int native_id) {
  const int row = native_id - kFirstControlId;
  if (row < 0 || row >= static_cast<int>(kControlCount)) return {};
  return static_cast<ControlId>(row);
}

std::wstring literal_caption(std::wstring_view caption) {
  std::wstring result;
  for (const wchar_t unit : caption)
    result.append(unit == L'&' ? 2 : 1, unit);
  return result;
}

std::wstring window_text(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  const int copied = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  text.resize(static_cast<std::size_t>(copied));
  return text;
}

void NativeControls::create(HWND parent, const Look& look) {
  for (std::size_t row = 0; row < kControlCount; ++row) {
    handles_[row] = create_control(parent, row);
    if (handles_[row] == nullptr) throw std::runtime_error("Could not create a Windows control.");
    prepare_control(handles_[row], kControls[row], look);
  }
}

void NativeControls::set_fonts(const Fonts& fonts) {
  for (std::size_t row = 0; row < kControlCount; ++row) {
    if (kControls[row].kind == ControlKind::receive_view) continue;  // its font is part of its text
    SendMessageW(handles_[row], WM_SETFONT, reinterpret_cast<WPARAM>(fonts.of(kControls[row])), TRUE);
  }
}

void NativeControls::set_caption(ControlId id, std::wstring_view caption) {
  const ControlKind kind = control(id).kind;
  std::wstring& shown = texts_[index_of(id)];
  if (shown == caption || (!has_caption(kind) && kind != ControlKind::name_edit)) return;
  shown = caption;
  const HWND target = (*this)[id];
  if (kind == ControlKind::name_edit) return set_field_hint(target, caption);
  SetWindowTextW(target, (is_push(kind) ? literal_caption(caption) : shown).c_str());
}

void NativeControls::set_choices(ControlId id, std::span<const std::wstring> entries,
                                 std::optional<std::size_t> selected, std::wstring_view placeholder) {
  texts_[index_of(id)] = placeholder;
  if ((*this)[id] != nullptr) set_choice_entries((*this)[id], entries, selected, placeholder);
}

void NativeControls::place(const Placement& placement) {
  HDWP moves = BeginDeferWindowPos(static_cast<int>(kControlCount));
  for (std::size_t row = 0; row < kControlCount; ++row) {
    const Rect& rect = placement[row];
    if (rect.empty() || handles_[row] == nullptr || moves == nullptr) continue;
    const bool is_choice = kControls[row].kind == ControlKind::choice;
    if (is_choice) set_choice_height(handles_[row], rect.height);
    moves = DeferWindowPos(moves, handles_[row], nullptr, rect.x, rect.y, rect.width,
                           is_choice ? rect.height + kOpenListHeight : rect.height,
                           SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOOWNERZORDER);
  }
  if (moves != nullptr) EndDeferWindowPos(moves);
}

Metrics NativeControls::measure(const Fonts& fonts) const {
  Metrics metrics;
  metrics.dpi = fonts.dpi();
  metrics.text_height = font_height(fonts.interface_font());
  metrics.mono_height = font_height(fonts.fixed_font());
  for (std::size_t row = 0; row < kControlCount; ++row) {
    int& width = metrics.text_width[row];
    width = text_width(fonts.of(kControls[row]), texts_[row]);
    if (kControls[row].kind == ControlKind::choice) width = std::max(width, widest_entry(handles_[row]));
  }
  return metrics;
}

}  // namespace hvt
