// Risks: the menu in the wrong language or offering what cannot be done; a choice that does nothing or is
// taken for the program's doing.

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "receive_view_rig.h"

namespace hvt::test {
namespace {

using ReceiveMenu = ReceiveViewTest;

// The entries of the open menu; "-" marks a disabled one.
std::wstring open_entries() {
  std::wstring seen;
  HWND entry = GetWindow(FindWindowW(L"HalvetricSerialTest.Menu", nullptr), GW_CHILD);
  for (; entry != nullptr; entry = GetWindow(entry, GW_HWNDNEXT))
    seen.append(IsWindowEnabled(entry) ? L"[" : L"-[").append(window_text(entry)).append(L"]");
  return seen;
}

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
  int navigated = 0;
  view_.on_navigated([&] { ++navigated; });
  face_.window.show();
  SetFocus(control_);
  const auto open_menu = [&](UINT message, LPARAM where, const std::vector<WPARAM>& keys) {
    edit_.send(message, 0, where);
    const std::wstring seen = open_entries();
    for (const WPARAM key : keys)
      face_.press(key);
    EXPECT_EQ(open_entries(), L"") << "the menu is closed";
    return seen;
  };
  constexpr LPARAM kByKeyboard = -1;
  EXPECT_EQ(open_menu(WM_CONTEXTMENU, kByKeyboard, {VK_ESCAPE}), L"-[Copy]-[Select all]");
  view_.append(batch_of({{L"first\r\nsecond", ColorRole::rx_payload}}));
  edit_.select(0, 0);
  EXPECT_EQ(open_menu(WM_RBUTTONUP, MAKELPARAM(20, 20), {VK_UP, VK_RETURN}), L"-[Copy][Select all]");
  EXPECT_EQ(edit_.selection().cpMin, 0);
  EXPECT_LE(12, edit_.selection().cpMax);
  EXPECT_EQ(navigated, 1) << "what a person selects must not be followed away";
  EXPECT_EQ(GetFocus(), control_);
  view_.set_language(Language::korean);
  const std::wstring korean{L"[\xBCF5\xC0AC][\xBAA8\xB450 \xC120\xD0DD]"};
  EXPECT_EQ(open_menu(WM_CONTEXTMENU, kByKeyboard, {VK_DOWN, VK_RETURN}), korean);
  EXPECT_EQ(clipboard_text(), L"first\r\nsecond");
}

// The fields' menu, on a field with text and a selection.
TEST_F(ReceiveMenu, AFieldOffersWhatCanBeDone) {
  face_.apply_plain_states();
  face_.window.show();
  const HWND field = face_.native(ControlId::packet_1);
  face_.window.set_field_text(ControlId::packet_1, L"AT<CR>", 0);
  SendMessageW(field, EM_SETSEL, 0, 2);
  SendMessageW(field, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(field), -1);
  EXPECT_EQ(open_entries().substr(0, 11), L"[Cut][Copy]");
  face_.press(VK_DOWN);
  face_.press(VK_RETURN);
  EXPECT_EQ(face_.window.field_text(ControlId::packet_1), L"<CR>");
  EXPECT_EQ(clipboard_text(), L"AT");
  SendMessageW(field, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(field), -1);
  EXPECT_EQ(open_entries(), L"-[Cut]-[Copy][Paste][Select all]");
  face_.press(VK_DOWN);
  face_.press(VK_RETURN);
  EXPECT_EQ(face_.window.field_text(ControlId::packet_1), L"AT<CR>");
}

}  // namespace
}  // namespace hvt::test
