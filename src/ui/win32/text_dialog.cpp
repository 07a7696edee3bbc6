#include "ui/win32/text_dialog.h"

#include <commctrl.h>
#include <richedit.h>

#include <algorithm>
#include <string>
#include <utility>

#include "ui/win32/buttons.h"
#include "ui/win32/desktop.h"
#include "ui/win32/dialog_text.h"
#include "ui/win32/fields.h"
#include "ui/win32/native_controls.h"
#include "ui/win32/painted.h"
#include "ui/win32/sizing.h"

namespace hvt {
namespace {

constexpr const wchar_t* kClass = L"HalvetricSerialTest.Dialog";
constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_CLIPCHILDREN;
constexpr int kTextId = 100;
constexpr int kLinkId = 101;

// Logical pixels.
constexpr int kMargin = 12;
constexpr int kButtonHeight = 28;
constexpr int kButtonFrame = 28;
constexpr int kLeastButton = 88;
constexpr Size kLong{640, 560};
constexpr Size kShort{460, 260};
constexpr Size kSmallest{320, 180};
constexpr std::size_t kShortLines = 8;

void register_class(WNDPROC procedure) {
  WNDCLASSEXW description{};
  description.cbSize = sizeof description;
  description.lpfnWndProc = procedure;
  description.hInstance = GetModuleHandleW(nullptr);
  description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  description.lpszClassName = kClass;
  RegisterClassExW(&description);  // again: refused, and there is one
}

HWND create_child(HWND parent, const wchar_t* window_class, DWORD style, int id) {
  return CreateWindowExW(0, window_class, L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP | style, 0, 0, 0, 0, parent,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr),
                         nullptr);
}

}  // namespace

TextDialog::TextDialog(const Look& look, AccessibleNames& names, std::function<void()> link)
    : look_(look), names_(names), link_(std::move(link)) {}

TextDialog::~TextDialog() {
  close();
}

void TextDialog::close() {
  if (window_ == nullptr) return;
  if (const auto closing = std::exchange(closing_, {})) closing();
  DestroyWindow(window_);
}

void TextDialog::show(HWND owner, const DialogContent& content) {
  const bool open = window_ != nullptr;
  if (!open) create(owner);
  if (window_ == nullptr) return;
  set_content(content);
  if (!open) place_over(owner);
  ShowWindow(window_, SW_SHOW);
  SetForegroundWindow(window_);
  if (!open) SetFocus(close_button_);
}

void TextDialog::create(HWND owner) {
  register_class(&TextDialog::procedure);
  CreateWindowExW(WS_EX_CONTROLPARENT | WS_EX_DLGMODALFRAME, kClass, L"", kStyle, CW_USEDEFAULT,
                  CW_USEDEFAULT, 0, 0, owner, nullptr, GetModuleHandleW(nullptr), this);
  if (window_ == nullptr) return;
  const HWND text = create_child(window_, MSFTEDIT_CLASS,
                                 ES_MULTILINE | ES_READONLY | ES_NOHIDESEL | WS_VSCROLL | WS_BORDER, kTextId);
  text_ = RichEdit{text};
  link_button_ = create_child(window_, WC_BUTTONW, BS_PUSHBUTTON, kLinkId);
  close_button_ = create_child(window_, WC_BUTTONW, BS_PUSHBUTTON, IDCANCEL);
  make_receive_field(text, look_);
  make_button(link_button_, ButtonLook::primary, look_, ThemeColor::window);
  make_button(close_button_, ButtonLook::push, look_, ThemeColor::window);
  use_fonts();
  repaint();
}

void TextDialog::use_fonts() {
  Fonts fonts{static_cast<int>(GetDpiForWindow(window_))};
  for (const HWND child : {link_button_, close_button_})
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(fonts.interface_font()), TRUE);
  fonts_ = std::move(fonts);
}

void TextDialog::set_content(const DialogContent& content) {
  const bool same_text = content_.lines == content.lines && text_.length() > 0;
  content_ = content;
  SetWindowTextW(window_, content.title.c_str());
  SetWindowTextW(link_button_, literal_caption(content.link).c_str());
  SetWindowTextW(close_button_, literal_caption(content.close).c_str());
  names_.set(text_.window(), content.title, {});
  ShowWindow(link_button_, content.link.empty() ? SW_HIDE : SW_SHOWNA);
  if (!same_text) write_text();
  arrange();
}

void TextDialog::write_text() {
  const POINT place = text_.scroll_position();
  text_.send(WM_SETREDRAW, FALSE);
  text_.stream_in(dialog_rtf(content_.lines, look_), RichEdit::Part::all);
  text_.select(0, 0);
  text_.set_scroll_position(place);
  text_.send(WM_SETREDRAW, TRUE);
  InvalidateRect(text_.window(), nullptr, TRUE);
}

void TextDialog::repaint() {
  if (window_ == nullptr) return;
  title_bar_.apply(window_, look_.dark());
  set_system_style(text_.window(), look_.dark());
  text_.send(EM_SETBKGNDCOLOR, 0, static_cast<LPARAM>(look_[ThemeColor::receive_surface]));
  if (!content_.lines.empty()) write_text();
  RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

// In the middle of its owner, inside the screen.
void TextDialog::place_over(HWND owner) {
  const Size logical = content_.lines.size() <= kShortLines ? kShort : kLong;
  RECT over{};
  GetWindowRect(owner, &over);
  const int width = scaled(window_, logical.width);
  const int height = scaled(window_, logical.height);
  SetWindowPos(window_, nullptr, (over.left + over.right - width) / 2, (over.top + over.bottom - height) / 2,
               width, height, SWP_NOZORDER | SWP_NOACTIVATE);
  resize_client(window_, client_size(window_));
}

void TextDialog::arrange() {
  const Size client = client_size(window_);
  const int margin = scaled(window_, kMargin);
  const int height = scaled(window_, kButtonHeight);
  const int top = client.height - margin - height;
  MoveWindow(text_.window(), margin, margin, std::max(0, client.width - 2 * margin),
             std::max(0, top - 2 * margin), TRUE);
  int right = client.width - margin;
  for (const auto& [button, caption] :
       {std::pair{close_button_, &content_.close}, {link_button_, &content_.link}}) {
    const int text = text_width(fonts_.interface_font(), *caption) + scaled(window_, kButtonFrame);
    const int width = std::max(text, scaled(window_, kLeastButton));
    MoveWindow(button, right - width, top, width, height, TRUE);
    right -= width + margin / 2;
  }
}

// Enter anywhere but on the link closes.
void TextDialog::on_command(int id) {
  const bool link = id == kLinkId || (id == IDOK && GetFocus() == link_button_);
  if (link) {
    link_();
  } else if (id == IDOK || id == IDCANCEL) {
    close();
  }
}

LRESULT CALLBACK TextDialog::procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_NCCREATE) {
    auto* const self =
        static_cast<TextDialog*>(reinterpret_cast<const CREATESTRUCTW*>(second)->lpCreateParams);
    self->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* const self = reinterpret_cast<TextDialog*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr) return DefWindowProcW(window, message, first, second);
  return self->on_message(window, message, first, second);
}

LRESULT TextDialog::on_message(HWND window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_COMMAND: on_command(LOWORD(first)); return 0;
    case DM_GETDEFID: return MAKELRESULT(IDOK, DC_HASDEFID);
    case WM_CLOSE: close(); return 0;
    case WM_SIZE:
      if (close_button_ != nullptr) arrange();
      return 0;
    case WM_GETMINMAXINFO:
      reinterpret_cast<MINMAXINFO*>(second)->ptMinTrackSize = {scaled(window, kSmallest.width),
                                                               scaled(window, kSmallest.height)};
      return 0;
    case WM_ERASEBKGND: {
      RECT client{};
      GetClientRect(window, &client);
      FillRect(reinterpret_cast<HDC>(first), &client, look_.brush(ThemeColor::window));
      return 1;
    }
    case WM_DPICHANGED: {
      use_fonts();
      const RECT& wanted = *reinterpret_cast<const RECT*>(second);
      SetWindowPos(window, nullptr, wanted.left, wanted.top, wanted.right - wanted.left,
                   wanted.bottom - wanted.top, SWP_NOZORDER | SWP_NOACTIVATE);
      return 0;
    }
    case WM_ACTIVATE:
      if (LOWORD(first) == WA_INACTIVE && IsChild(window, GetFocus())) last_focus_ = GetFocus();
      break;
    case WM_SETFOCUS: SetFocus(last_focus_ != nullptr ? last_focus_ : close_button_); return 0;
    case WM_DESTROY: names_.forget(text_.window()); break;
    case WM_NCDESTROY:
      SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      text_ = RichEdit{};
      window_ = link_button_ = close_button_ = last_focus_ = nullptr;
      content_ = {};
      break;
    default: break;
  }
  return DefWindowProcW(window, message, first, second);
}

}  // namespace hvt
