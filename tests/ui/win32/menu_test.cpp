// Risks: a menu that cannot be reached, left or chosen from without the mouse; a keyboard that is lost
// afterwards; an access key that does nothing or reaches a control that is out of use.

#include <windows.h>

#include <gtest/gtest.h>

#include "face_rig.h"

namespace hvt::test {
namespace {

using Log = std::vector<std::string>;

class Win32Menus : public testing::Test {
 protected:
  Win32Menus() {
    face_.show_facts(Facts{.link = LinkState::connected, .transmit_expanded = true}, {800, 900});
    SetFocus(face_.native(ControlId::packet_1));
  }

  static HWND menu() { return FindWindowW(L"HalvetricSerialTest.Menu", nullptr); }
  static HWND entry(int index) {
    HWND at = GetWindow(menu(), GW_CHILD);
    while (index-- > 0)
      at = GetWindow(at, GW_HWNDNEXT);
    return at;
  }
  // The entries, a mark as "*", the highlight as ">".
  static std::wstring shown() {
    std::wstring text;
    for (HWND at = GetWindow(menu(), GW_CHILD); at != nullptr; at = GetWindow(at, GW_HWNDNEXT)) {
      const LRESULT state = SendMessageW(at, BM_GETSTATE, 0, 0);
      text.append((state & BST_PUSHED) != 0 ? L">" : L"").append((state & BST_CHECKED) != 0 ? L"*" : L"");
      text.append(window_text(at)).append(L" ");
    }
    return text;
  }
  ControlId focused() const { return control_of(GetDlgCtrlID(GetFocus())).value_or(ControlId::status); }
  void click(HWND window) {
    PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    PostMessageW(window, WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
    face_.pump();
  }
  Log chosen(MenuItem item) { return {"menu " + std::to_string(index_of(item))}; }

  Face face_;
};

TEST_F(Win32Menus, TheKeyboardOpensWalksChoosesAndComesBack) {
  face_.press_access_key(L'l');
  EXPECT_EQ(shown(), L">*English \xD55C\xAD6D\xC5B4 ");
  face_.press(VK_DOWN);
  EXPECT_EQ(shown(), L"*English >\xD55C\xAD6D\xC5B4 ");
  face_.press(VK_RIGHT);
  EXPECT_EQ(shown(), L">Light Dark *System ");
  face_.press(VK_LEFT);
  face_.press(VK_LEFT);
  EXPECT_EQ(shown().substr(0, 7), L">Usage ");
  face_.press(VK_END);
  face_.press('C');
  EXPECT_EQ(shown(), L"Usage >Check for updates About Homepage ") << "by its first letter";
  face_.press(VK_ESCAPE);
  EXPECT_EQ(menu(), nullptr);
  EXPECT_EQ(face_.events.take(), Log{});
  EXPECT_EQ(focused(), ControlId::packet_1);
  face_.press_access_key(L'T');
  face_.press(VK_DOWN);
  face_.press(VK_RETURN);
  EXPECT_EQ(face_.events.take(), chosen(MenuItem::theme_dark));
  EXPECT_EQ(menu(), nullptr);
  EXPECT_EQ(focused(), ControlId::packet_1);
  EXPECT_EQ(face_.window.field_text(ControlId::packet_1), L"") << "no key of the menu reaches the field";
}

TEST_F(Win32Menus, AltLeadsToTheFirstMenuAndEscapeBack) {
  const auto alt = [&] { SendMessageW(face_.window.handle(), WM_SYSCOMMAND, SC_KEYMENU, 0); };
  alt();
  EXPECT_EQ(focused(), ControlId::menu_language);
  face_.press(VK_RIGHT);
  EXPECT_EQ(focused(), ControlId::menu_theme);
  for (const WPARAM opener : {VK_DOWN, VK_RETURN, VK_SPACE}) {
    face_.press(opener);
    EXPECT_EQ(shown(), L">Light Dark *System ") << opener;
    face_.press(VK_ESCAPE);
    EXPECT_EQ(focused(), ControlId::menu_theme);
  }
  face_.press(VK_ESCAPE);
  EXPECT_EQ(focused(), ControlId::packet_1);
}

TEST_F(Win32Menus, TheMouseOpensSwitchesChoosesAndCloses) {
  const HWND language = face_.native(ControlId::menu_language);
  click(language);
  ASSERT_NE(menu(), nullptr);
  EXPECT_EQ(focused(), ControlId::packet_1) << "the keyboard stays";
  EXPECT_NE(SendMessageW(language, BM_GETSTATE, 0, 0) & BST_PUSHED, 0) << "looks open";
  click(language);
  EXPECT_EQ(menu(), nullptr);
  click(language);
  SendMessageW(face_.native(ControlId::menu_help), WM_MOUSEMOVE, 0, MAKELPARAM(5, 5));
  EXPECT_EQ(shown(), L"Usage Check for updates About Homepage ");
  EXPECT_EQ(SendMessageW(language, BM_GETSTATE, 0, 0) & BST_PUSHED, 0);
  click(face_.native(ControlId::packet_2));
  EXPECT_EQ(menu(), nullptr);
  EXPECT_EQ(focused(), ControlId::packet_2) << "the press is not lost";
  click(language);
  click(entry(1));
  EXPECT_EQ(face_.events.take(), chosen(MenuItem::korean));
  EXPECT_EQ(menu(), nullptr);
}

TEST_F(Win32Menus, AccessKeysPressButtonsAndLeadToFields) {
  struct Case {
    wchar_t key;
    Log events;
    ControlId focus;
  };
  const Case cases[]{
      {L'r', {"command refresh"}, ControlId::packet_1},
      {L'C', {"command connect"}, ControlId::packet_1},
      {L'a', {"command always_on_top"}, ControlId::packet_1},
      {L'3', {}, ControlId::packet_3},
      {L'0', {}, ControlId::packet_10},
      {L'w', {}, ControlId::receive_view},
      {L'b', {}, ControlId::receive_view},  // the baud rate is out of use while connected
      {L'f', {}, ControlId::receive_view},  // nothing is paused
      {L'u', {}, ControlId::receive_view},  // no newer release: not there
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(static_cast<char>(row.key));
    face_.press_access_key(row.key);
    EXPECT_EQ(face_.events.take(), row.events);
    if (row.events.empty()) {
      EXPECT_EQ(focused(), row.focus);
    }
  }
}

TEST_F(Win32Menus, EnterPressesTheButtonWithTheKeyboard) {
  for (const ControlId id : {ControlId::clear, ControlId::always_on_top, ControlId::send_4}) {
    SetFocus(face_.native(id));
    face_.press(VK_RETURN);
    EXPECT_EQ(face_.events.take(), Log{"command " + std::string{control(id).name}});
  }
}

TEST(Win32FirstFocus, ThePortOrTheNextUsableControlHasTheKeyboard) {
  for (const bool has_ports : {true, false}) {
    Face face;
    face.show_facts(Facts{.has_ports = has_ports}, {800, 800});
    SetFocus(face.window.handle());
    EXPECT_EQ(GetFocus(), face.native(has_ports ? ControlId::port : ControlId::refresh)) << has_ports;
  }
}

}  // namespace
}  // namespace hvt::test
