#include "ui/win32/native_controls.h"

#include <commctrl.h>
#include <richedit.h>

#include <algorithm>
#include <stdexcept>

#include "transmit/packet_text.h"
#include "ui/win32/choice.h"
#include "ui/win32/fields.h"

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
    case ControlKind::button: return {WC_BUTTONW, BS_PUSHBUTTON | WS_TABSTOP};
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

// "&" would otherwise mark a shortcut letter.
std::wstring literal(std::wstring_view caption) {
  std::wstring result;
  for (const wchar_t unit : caption)
    result.append(unit == L'&' ? 2 : 1, unit);
  return result;
}

bool is_push(ControlKind kind) {
  return kind == ControlKind::button || kind == ControlKind::check || kind == ControlKind::radio;
}

bool has_caption(ControlKind kind) {
  return kind == ControlKind::label || kind == ControlKind::title || kind == ControlKind::counter ||
         is_push(kind);
}

void prepare_control(HWND handle, ControlKind kind) {
  if (kind == ControlKind::packet_edit) {
    SendMessageW(handle, EM_LIMITTEXT, kMaxPacketCharacters, 0);
    make_field(handle);
  }
  if (kind == ControlKind::name_edit) {
    SendMessageW(handle, EM_LIMITTEXT, kMaxNameCharacters, 0);
    make_field(handle);
  }
  if (kind == ControlKind::number_edit) {
    SendMessageW(handle, EM_LIMITTEXT, kMaxNumberCharacters, 0);
    make_field(handle);
  }
  if (kind == ControlKind::receive_view) make_receive_field(handle);
  if (kind == ControlKind::choice) {
    SendMessageW(handle, CB_SETMINVISIBLE, kVisibleEntries, 0);
    make_choice(handle);
  }
}

}  // namespace

std::optional<ControlId> control_of(int native_id) {
  const int row = native_id - kFirstControlId;
  if (row < 0 || row >= static_cast<int>(kControlCount)) return {};
  return static_cast<ControlId>(row);
}

std::wstring window_text(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  const int copied = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  text.resize(static_cast<std::size_t>(copied));
  return text;
}

void NativeControls::create(HWND parent) {
  for (std::size_t row = 0; row < kControlCount; ++row) {
    handles_[row] = create_control(parent, row);
    if (handles_[row] == nullptr) throw std::runtime_error("Could not create a Windows control.");
    prepare_control(handles_[row], kControls[row].kind);
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
  if (kind == ControlKind::name_edit)
    SendMessageW((*this)[id], EM_SETCUEBANNER, TRUE, reinterpret_cast<LPARAM>(std::wstring{caption}.c_str()));
  if (!has_caption(kind)) return;
  texts_[index_of(id)] = caption;
  SetWindowTextW((*this)[id], (is_push(kind) ? literal(caption) : std::wstring{caption}).c_str());
}

void NativeControls::set_choices(ControlId id, std::span<const std::wstring> entries,
                                 std::optional<std::size_t> selected, std::wstring_view placeholder) {
  texts_[index_of(id)] = placeholder;
  if ((*this)[id] != nullptr) set_choice_entries((*this)[id], entries, selected);
}

void NativeControls::draw_choice_item(const DRAWITEMSTRUCT& item, ControlId id) const {
  draw_choice(item, texts_[index_of(id)]);
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
