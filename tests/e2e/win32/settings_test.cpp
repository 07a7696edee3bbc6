// Risk: what a person sets in the real window is not there the next time. The native controls are clicked,
// typed into and read.

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <map>
#include <string>

#include "app/app.h"
#include "settings/app_settings.h"
#include "tests/support/folder.h"
#include "ui/win32/application.h"
#include "ui/win32/main_window.h"

namespace hvt {
namespace {

// One run of the program with its real window.
struct Session {
  explicit Session(const test::Folder& folder)
      : app(folder.path(), {.port_source =
                                [] {
                                  return std::vector<PortDescription>{{L"COM8", L""}, {L"COM9", L""}};
                                }}),
        window(app) {
    app.attach(window);
  }
  ~Session() {
    SendMessageW(window.handle(), WM_CLOSE, 0, 0);
    app.detach();
  }

  HWND native(ControlId id) const { return GetDlgItem(window.handle(), native_id(id)); }
  void click(ControlId id) { SendMessageW(native(id), BM_CLICK, 0, 0); }
  void type(ControlId id, const std::wstring& text) {
    SendMessageW(native(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
  }
  void choose_another(ControlId id) {
    const LRESULT selected = SendMessageW(native(id), CB_GETCURSEL, 0, 0);
    const LRESULT other = selected == 0 ? SendMessageW(native(id), CB_GETCOUNT, 0, 0) - 1 : 0;
    SendMessageW(native(id), CB_SETCURSEL, static_cast<WPARAM>(other), 0);
    SendMessageW(window.handle(), WM_COMMAND, MAKEWPARAM(native_id(id), CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(native(id)));
  }
  void move(int left, int top, int width, int height) {
    SetWindowPos(window.handle(), nullptr, left, top, width, height, SWP_NOZORDER);
  }
  // Left, top, right and bottom on the screen.
  std::array<LONG, 4> place() const {
    RECT rectangle{};
    GetWindowRect(window.handle(), &rectangle);
    return {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
  }
  // What a person sees of a control.
  std::wstring seen(const ControlRow& row) const {
    const HWND control = native(row.id);
    switch (row.kind) {
      case ControlKind::check:
      case ControlKind::radio:
        return SendMessageW(control, BM_GETCHECK, 0, 0) == BST_CHECKED ? L"on" : L"off";
      case ControlKind::choice: return std::to_wstring(SendMessageW(control, CB_GETCURSEL, 0, 0));
      case ControlKind::packet_edit:
      case ControlKind::number_edit: return window_text(control);
      default: return IsWindowVisible(control) ? L"shown" : L"hidden";
    }
  }

  InterfaceLibraries libraries;
  App app;
  Win32MainWindow window;
};

TEST(Win32Settings, EveryControlIsAsItWasLeft) {
  const test::Folder folder;
  std::map<ControlId, std::wstring> first;
  std::map<ControlId, std::wstring> left;
  std::array<LONG, 4> place{};
  {
    Session session(folder);
    for (const ControlRow& row : kControls)
      first[row.id] = session.seen(row);
    session.click(ControlId::transmit);
    for (const ControlId id : {ControlId::line_break, ControlId::hide_crlf, ControlId::echo_sent,
                               ControlId::receive_hex, ControlId::send_hex, ControlId::auto_crlf,
                               ControlId::wait_for_rx, ControlId::display_while_recording})
      session.click(id);
    for (const ControlRow& row : kControls) {
      if (row.kind == ControlKind::choice) session.choose_another(row.id);
      if (row.kind == ControlKind::number_edit || row.kind == ControlKind::packet_edit)
        session.type(row.id, L"7" + std::to_wstring(index_of(row.id)));
    }
    session.move(30, 20, 820, 900);
    place = session.place();
    for (const ControlRow& row : kControls)
      left[row.id] = session.seen(row);
  }
  Session again(folder);
  for (const ControlRow& row : kControls) {
    EXPECT_EQ(again.seen(row), left[row.id]) << row.name;
    const bool holds_something = row.kind == ControlKind::choice || row.kind == ControlKind::number_edit ||
                                 row.kind == ControlKind::packet_edit || row.kind == ControlKind::check;
    EXPECT_TRUE(!holds_something || left[row.id] != first[row.id]) << row.name << " was not changed at all";
  }
  // A screen without room for that height gives what it has.
  RECT work{};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  if (place[3] - place[1] > work.bottom - work.top) place[1] = work.top, place[3] = work.bottom;
  EXPECT_EQ(again.place(), place);
}

TEST(Win32Settings, AMaximizedWindowComesBackMaximizedWithTheSizeItHadBefore) {
  const test::Folder folder;
  std::array<LONG, 4> place{};
  {
    Session session(folder);
    session.move(30, 20, 790, 730);
    place = session.place();
    ShowWindow(session.window.handle(), SW_MAXIMIZE);
  }
  Session again(folder);
  EXPECT_TRUE(IsZoomed(again.window.handle()));
  ShowWindow(again.window.handle(), SW_RESTORE);
  EXPECT_EQ(again.place(), place);
}

TEST(Win32Settings, ASavedWindowThatIsTooLowForItsControlsIsMadeHighEnough) {
  const test::Folder folder;
  AppSettings settings;
  settings.transmit_enabled = true;
  settings.window_width = 760;
  settings.window_height = 200;
  save_settings(settings_path(folder.path()), settings);
  Session session(folder);
  RECT client{};
  GetClientRect(session.window.handle(), &client);
  EXPECT_GE(client.bottom, session.app.minimum_client_size(client.right).height);
}

}  // namespace
}  // namespace hvt
