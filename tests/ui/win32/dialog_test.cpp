// Risks: a dialog that cannot be closed, loses its text or keeps the main window locked; an event from a link
// that is lost.

#include <windows.h>

#include <gtest/gtest.h>

#include "base/text.h"
#include "face_rig.h"
#include "ui/win32/rich_edit.h"

namespace hvt::test {
namespace {

using Log = std::vector<std::string>;
using Kind = DialogLine::Kind;

HWND dialog() {
  return FindWindowW(L"HalvetricSerialTest.Dialog", nullptr);
}
HWND part(const wchar_t* window_class, const wchar_t* caption = nullptr) {
  return FindWindowExW(dialog(), nullptr, window_class, caption);
}

DialogContent content(const std::wstring& link) {
  return {L"Title",
          {{Kind::heading, L"Heading"}, {Kind::text, L"Some {text} \xD55C"}, {Kind::code, L"\\x0D"}},
          link,
          L"Close"};
}

TEST(Win32Dialogs, ADialogShowsItsTextBesideTheWindowUntilItIsClosed) {
  Face face;
  face.window.show();
  for (const char* const way : {"Escape", "Return", "button", "frame"}) {
    SCOPED_TRACE(way);
    face.window.show_dialog(DialogId::usage, content(L"Download"));
    face.pump();
    ASSERT_TRUE(face.window.dialog_open(DialogId::usage));
    EXPECT_FALSE(face.window.dialog_open(DialogId::about));
    EXPECT_TRUE(IsWindowEnabled(face.window.handle())) << "modeless";
    EXPECT_EQ(window_text(dialog()), L"Title");
    const RichEdit text{part(L"RICHEDIT50W")};
    EXPECT_EQ(text.text(0, text.length()), L"Heading\rSome {text} \xD55C\r\\x0D");
    text.select(0, 3);
    EXPECT_NE(text.character_format().dwEffects & CFE_BOLD, 0u);
    text.select(10, 12);
    EXPECT_EQ(text.character_format().dwEffects & CFE_BOLD, 0u);
    face.events.take();
    SendMessageW(part(L"BUTTON", L"Download"), BM_CLICK, 0, 0);
    face.pump();
    EXPECT_EQ(face.events.take(), Log{"link 0"});
    if (way[0] == 'E') face.press(VK_ESCAPE);
    if (way[0] == 'R') {
      SetFocus(part(L"RICHEDIT50W"));
      face.press(VK_RETURN);
    }
    if (way[0] == 'b') SendMessageW(part(L"BUTTON", L"Close"), BM_CLICK, 0, 0);
    if (way[0] == 'f') SendMessageW(dialog(), WM_CLOSE, 0, 0);
    EXPECT_FALSE(face.window.dialog_open(DialogId::usage));
    EXPECT_EQ(dialog(), nullptr);
  }
}

TEST(Win32Dialogs, AnOpenDialogTakesAnotherContentAndOtherColours) {
  Face face;
  face.window.show();
  face.window.show_dialog(DialogId::update, content(L"Download"));
  const HWND first = dialog();
  face.window.show_dialog(DialogId::update, {L"Update", {{Kind::text, L"Latest"}}, L"", L"Done"});
  EXPECT_EQ(dialog(), first);
  const RichEdit text{part(L"RICHEDIT50W")};
  EXPECT_EQ(text.text(0, text.length()), L"Latest");
  EXPECT_FALSE(IsWindowVisible(part(L"BUTTON", L""))) << "no link";
  face.window.set_theme(build_theme_palette(true, face.window.system_colors()));
  face.pump();
  text.select(0, 3);
  EXPECT_EQ(text.character_format().crTextColor, RGB(212, 212, 212));
  EXPECT_EQ(pixel(text.window(), 60, 60), RGB(30, 30, 30));
}

// Closes the notice from inside its own loop.
struct ClosingEvents final : RecordingEvents {
  Win32MainWindow* window = nullptr;
  void message(unsigned, std::uintptr_t, std::intptr_t) override {
    log.emplace_back(IsWindowEnabled(window->handle()) ? "usable" : "locked");
    log.emplace_back(utf16_to_utf8(window_text(dialog())));
    PostMessageW(part(L"BUTTON", L"Close"), BM_CLICK, 0, 0);
  }
};

TEST(Win32Dialogs, ANoticeLocksTheWindowUntilItIsClosedWhileEventsComeIn) {
  const InterfaceLibraries libraries;
  ClosingEvents events;
  Win32MainWindow window{events};
  events.window = &window;
  window.show();
  events.take();
  window.post(kTaskMessage);
  window.show_notice(L"Notice", L"Something to know.");
  EXPECT_EQ(dialog(), nullptr);
  EXPECT_TRUE(IsWindowEnabled(window.handle()));
  EXPECT_EQ(events.take(), (Log{"locked", "Notice"}));
}

TEST(Win32Dialogs, DialogsGoWithTheWindow) {
  Face face;
  face.window.show();
  face.window.show_dialog(DialogId::about, content(L""));
  SendMessageW(face.window.handle(), WM_CLOSE, 0, 0);
  EXPECT_EQ(dialog(), nullptr);
  EXPECT_FALSE(face.window.dialog_open(DialogId::about));
  face.window.show_dialog(DialogId::about, content(L""));
  face.window.show_notice(L"x", L"y");
  EXPECT_EQ(dialog(), nullptr);
  MSG message{};
  PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);
}

}  // namespace
}  // namespace hvt::test
