#include "ui/win32/tool_tips.h"

#include "ui/win32/desktop.h"
#include "ui/win32/fonts.h"
#include "ui/win32/native_controls.h"
#include "ui/win32/painted.h"

namespace hvt {
namespace {

constexpr int kWidestLine = 600;      // logical pixels; longer texts take several lines
constexpr int kPadding = 5;           // logical pixels beside the text, half of it above and below
constexpr int kReadingTime = 30'000;  // milliseconds until the tip goes by itself

bool fits(HWND status, const std::wstring& text) {
  RECT client{};
  GetClientRect(status, &client);
  return text_width(font_of(status), text) <= client.right;
}

}  // namespace

void ToolTips::create(HWND parent, HWND status) {
  parent_ = parent;
  status_ = status;
  tip_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX, 0, 0, 0, 0, parent,
                         nullptr, GetModuleHandleW(nullptr), nullptr);
  set(status, {});
  SendMessageW(tip_, TTM_SETDELAYTIME, TTDT_AUTOPOP, kReadingTime);
}

TTTOOLINFOW ToolTips::tool_of(HWND control) const {
  TTTOOLINFOW tool{};
  tool.cbSize = sizeof tool;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = parent_;
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = LPSTR_TEXTCALLBACKW;
  return tool;
}

void ToolTips::set(HWND control, std::wstring_view text) {
  const auto [at, is_new] = texts_.insert_or_assign(control, std::wstring{text});
  if (!is_new) return;
  TTTOOLINFOW tool = tool_of(control);
  SendMessageW(tip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

// With visual styles the style decides, without them the colours do.
void ToolTips::set_look(const Look& look) {
  set_system_style(tip_, look.dark());
  const COLORREF ground = look[ThemeColor::field];
  SendMessageW(tip_, TTM_SETTIPBKCOLOR, ground, 0);
  SendMessageW(tip_, TTM_SETTIPTEXTCOLOR, look.text_on(ground), 0);
  const int padding = scaled(status_, kPadding);
  RECT margin{padding, padding / 2, padding, padding / 2};
  SendMessageW(tip_, TTM_SETMARGIN, 0, reinterpret_cast<LPARAM>(&margin));
}

void ToolTips::set_shown(bool shown) {
  shown_ = shown;
  if (!shown) SendMessageW(tip_, TTM_POP, 0, 0);
}

// An empty tip is not shown.
void ToolTips::answer(NMTTDISPINFOW& question) {
  const auto control = reinterpret_cast<HWND>(question.hdr.idFrom);
  text_ = control == status_ ? window_text(status_) : texts_[control];
  if (!shown_ || (control == status_ && fits(status_, text_))) text_.clear();
  const int dpi = static_cast<int>(GetDpiForWindow(status_));
  SendMessageW(question.hdr.hwndFrom, TTM_SETMAXTIPWIDTH, 0,
               MulDiv(kWidestLine, dpi, USER_DEFAULT_SCREEN_DPI));
  question.lpszText = text_.data();
}

}  // namespace hvt
