#include "ui/win32/status_tip.h"

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

void StatusTip::create(HWND parent, HWND status) {
  status_ = status;
  const HWND tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX, 0, 0, 0,
                                   0, parent, nullptr, GetModuleHandleW(nullptr), nullptr);
  TTTOOLINFOW tool{};
  tool.cbSize = sizeof tool;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = parent;
  tool.uId = reinterpret_cast<UINT_PTR>(status);
  tool.lpszText = LPSTR_TEXTCALLBACKW;
  SendMessageW(tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
  SendMessageW(tip, TTM_SETDELAYTIME, TTDT_AUTOPOP, kReadingTime);
}

void StatusTip::answer(NMTTDISPINFOW& question) {
  text_ = window_text(status_);
  if (fits(status_, text_)) text_.clear();  // an empty tip is not shown
  const int dpi = static_cast<int>(GetDpiForWindow(status_));
  SendMessageW(question.hdr.hwndFrom, TTM_SETMAXTIPWIDTH, 0,
               MulDiv(kWidestLine, dpi, USER_DEFAULT_SCREEN_DPI));
  question.lpszText = text_.data();
}

}  // namespace hvt
