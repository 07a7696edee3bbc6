// Risks: the menu in the wrong language or offering what cannot be done; a choice that does nothing or is
// taken for the program's doing.

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "receive_view_rig.h"

namespace hvt::test {
namespace {

using ReceiveMenu = ReceiveViewTest;

// While it lives, the entries of every menu that opens on this thread are noted; "-" marks a disabled one.
class MenuWatch {
 public:
  MenuWatch() : hook_(SetWindowsHookExW(WH_CALLWNDPROC, note, nullptr, GetCurrentThreadId())) {}
  ~MenuWatch() { UnhookWindowsHookEx(hook_); }
  MenuWatch(const MenuWatch&) = delete;
  MenuWatch& operator=(const MenuWatch&) = delete;

  std::wstring take() { return std::exchange(seen(), {}); }

 private:
  static std::wstring& seen() {
    static std::wstring text;
    return text;
  }

  static LRESULT CALLBACK note(int code, WPARAM first, LPARAM second) {
    const auto& message = *reinterpret_cast<const CWPSTRUCT*>(second);
    if (message.message == WM_INITMENUPOPUP) {
      const auto menu = reinterpret_cast<HMENU>(message.wParam);
      for (UINT i = 0; i < static_cast<UINT>(GetMenuItemCount(menu)); ++i) {
        wchar_t caption[64]{};
        GetMenuStringW(menu, i, caption, 64, MF_BYPOSITION);
        const bool enabled = (GetMenuState(menu, i, MF_BYPOSITION) & MF_GRAYED) == 0;
        seen().append(enabled ? L"[" : L"-[").append(caption).append(L"]");
      }
    }
    return CallNextHookEx(nullptr, code, first, second);
  }

  HHOOK hook_;
};

std::wstring clipboard_text() {
  std::wstring result;
  if (!OpenClipboard(nullptr)) return result;
  if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
    result = static_cast<const wchar_t*>(GlobalLock(data));
    GlobalUnlock(data);
  }
  CloseClipboard();
  return result;
}

TEST_F(ReceiveMenu, CopiesAndSelectsInEitherLanguage) {
  MenuWatch menus;
  int navigated = 0;
  view_.on_navigated([&] { ++navigated; });
  // The open menu takes the keys that wait by then.
  const auto open_menu = [&](UINT message, LPARAM where, const std::vector<WPARAM>& keys) {
    for (const WPARAM key : keys)
      PostMessageW(control_, WM_KEYDOWN, key, 0);
    edit_.send(message, 0, where);
    return menus.take();
  };
  constexpr LPARAM kByKeyboard = -1;
  EXPECT_EQ(open_menu(WM_CONTEXTMENU, kByKeyboard, {VK_ESCAPE}), L"-[Copy]-[Select all]");
  view_.append(batch_of({{L"first\r\nsecond", ColorRole::rx_payload}}));
  edit_.select(0, 0);
  EXPECT_EQ(open_menu(WM_RBUTTONUP, MAKELPARAM(20, 20), {VK_UP, VK_RETURN}), L"-[Copy][Select all]");
  EXPECT_EQ(edit_.selection().cpMin, 0);
  EXPECT_LE(12, edit_.selection().cpMax);
  EXPECT_EQ(navigated, 1) << "what a person selects must not be followed away";
  view_.set_language(Language::korean);
  const std::wstring korean{L"[\xBCF5\xC0AC][\xBAA8\xB450 \xC120\xD0DD]"};
  EXPECT_EQ(open_menu(WM_CONTEXTMENU, kByKeyboard, {VK_DOWN, VK_RETURN}), korean);
  EXPECT_EQ(clipboard_text(), L"first\r\nsecond");

  RECT window{};
  GetWindowRect(control_, &window);
  const LPARAM scroll_bar = MAKELPARAM(window.right - 3, window.top + 40);
  EXPECT_NE(open_menu(WM_CONTEXTMENU, scroll_bar, {VK_ESCAPE}), korean) << "it has a menu of its own";
}

}  // namespace
}  // namespace hvt::test
