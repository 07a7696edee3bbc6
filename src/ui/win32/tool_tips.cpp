#include "ui/win32/tool_tips.h"

#include "ui/win32/desktop.h"
#include "ui/win32/fonts.h"
#include "ui/win32/native_controls.h"

namespace hvt {
namespace {

constexpr int kWidestLine = 600;      // logical pixels; longer texts take several lines
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
  TTTOOLINFOW tool = tool_of(status);
  tool.lpszText = LPSTR_TEXTCALLBACKW;
  SendMessageW(tip_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
  SendMessageW(tip_, TTM_SETDELAYTIME, TTDT_AUTOPOP, kReadingTime);
}

TTTOOLINFOW ToolTips::tool_of(HWND control) const {
  TTTOOLINFOW tool{};
  tool.cbSize = sizeof tool;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = parent_;
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  return tool;
}

void ToolTips::set(HWND control, std::wstring_view text) {
  if (control == status_ || (text.empty() && !added_.contains(control))) return;
  std::wstring copy(text);
  TTTOOLINFOW tool = tool_of(control);
  tool.lpszText = copy.data();
  const bool is_new = added_.insert(control).second;
  SendMessageW(tip_, is_new ? TTM_ADDTOOLW : TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
}

// With visual styles the style decides, without them the colours do.
void ToolTips::set_look(const Look& look) {
  set_system_style(tip_, look.dark());
  const COLORREF ground = look[ThemeColor::field];
  SendMessageW(tip_, TTM_SETTIPBKCOLOR, ground, 0);
  SendMessageW(tip_, TTM_SETTIPTEXTCOLOR, look.text_on(ground), 0);
}

void ToolTips::answer(NMTTDISPINFOW& question) {
  text_ = window_text(status_);
  if (fits(status_, text_)) text_.clear();  // an empty tip is not shown
  const int dpi = static_cast<int>(GetDpiForWindow(status_));
  SendMessageW(question.hdr.hwndFrom, TTM_SETMAXTIPWIDTH, 0,
               MulDiv(kWidestLine, dpi, USER_DEFAULT_SCREEN_DPI));
  question.lpszText = text_.data();
}

}  // namespace hvt
