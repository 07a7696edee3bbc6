// Risks: a control that is missing, out of tab order or out of place; an event for a change that the program
// made itself, which would feed back; an event lost or doubled; use of the window after it is gone.

#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>
#include <richedit.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

#include "face_rig.h"
#include "ui/win32/fields.h"
#include "ui/win32/sizing.h"

namespace hvt::test {
namespace {

using namespace std::chrono_literals;

using Log = std::vector<std::string>;

std::wstring expected_class(ControlKind kind) {
  if (is_push(kind)) return L"BUTTON";
  switch (kind) {
    case ControlKind::choice: return L"COMBOBOX";
    case ControlKind::packet_edit:
    case ControlKind::number_edit:
    case ControlKind::name_edit: return L"EDIT";
    case ControlKind::receive_view: return L"RICHEDIT50W";
    default: return L"STATIC";
  }
}

bool takes_tab(std::size_t row) {
  const ControlKind kind = kControls[row].kind;
  if (kind == ControlKind::radio) return kControls[row - 1].kind != ControlKind::radio;
  return !is_static_text(kind) && kind != ControlKind::status;
}

Rect rect_of(HWND parent, HWND child) {
  RECT rect{};
  GetWindowRect(child, &rect);
  MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&rect), 2);
  return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

// 120 pixels apart on a grid, all of the height that the layout gives a control.
Placement grid_placement() {
  Placement placement{};
  for (std::size_t i = 0; i < kControlCount; ++i)
    placement[i] = {static_cast<int>(i % 6) * 120, static_cast<int>(i / 6) * 40, 110, 26};
  return placement;
}

TEST(Win32Face, EveryControlIsThereWithItsClassIdAndPlaceInTheOrder) {
  const Face face;
  EXPECT_EQ(class_of(face.window.handle()), L"HalvetricSerialTest.Main");
  EXPECT_FALSE(IsWindowVisible(face.window.handle()));
  HWND child = GetWindow(face.window.handle(), GW_CHILD);
  for (const ControlRow& row : kControls) {
    SCOPED_TRACE(row.name);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(GetDlgCtrlID(child), native_id(row.id));
    EXPECT_EQ(_wcsicmp(class_of(child).c_str(), expected_class(row.kind).c_str()), 0) << "class";
    child = GetWindow(child, GW_HWNDNEXT);
  }
  EXPECT_EQ(child, nullptr);
}

TEST(Win32Face, TheTabKeyFollowsTheTable) {
  const Face face;
  HWND at = face.native(ControlId::menu_language);
  for (std::size_t row = 0; row < kControlCount; ++row) {
    if (!takes_tab(row)) continue;
    SCOPED_TRACE(kControls[row].name);
    EXPECT_EQ(GetDlgCtrlID(at), native_id(kControls[row].id));
    at = GetNextDlgTabItem(face.window.handle(), at, FALSE);
  }
  EXPECT_EQ(at, face.native(ControlId::menu_language));
}

TEST(Win32Face, TheTabKeyStopsAtTheCheckedRadioButton) {
  Face face;
  const ControlChange hex_checked[]{{ControlId::receive_ascii, {true, true, false, L"ASCII"}},
                                    {ControlId::receive_hex, {true, true, true, L"Hex"}}};
  face.window.apply(hex_checked);
  const HWND before = face.native(ControlId::parity);
  EXPECT_EQ(GetNextDlgTabItem(face.window.handle(), before, FALSE), face.native(ControlId::receive_hex));
}

TEST(Win32Face, ControlsStandExactlyWhereTheyArePlaced) {
  Face face;
  face.apply_plain_states();
  face.window.set_choices(ControlId::port, {}, {}, L"Select a COM port");
  Placement placement = grid_placement();
  for (const int height : {26, 40, 30}) {
    for (Rect& rect : placement)
      rect.height = height;
    face.window.place(placement);
    for (const ControlRow& row : kControls) {
      const Rect actual = rect_of(face.window.handle(), face.native(row.id));
      EXPECT_EQ(actual, placement[index_of(row.id)])
          << row.name << " at height " << height << ": " << actual.x << "," << actual.y << " " << actual.width
          << "x" << actual.height;
    }
  }
}

TEST(Win32Face, EmptyRectanglesLeaveAControlWhereItIs) {
  Face face;
  Placement placement = grid_placement();
  face.window.place(placement);
  const Rect before = placement[index_of(ControlId::clear)];
  placement[index_of(ControlId::clear)] = {};
  face.window.place(placement);
  EXPECT_EQ(rect_of(face.window.handle(), face.native(ControlId::clear)), before);
}

TEST(Win32Face, ChangesByTheProgramRaiseNoEvent) {
  Face face;
  const std::vector<std::wstring> entries{L"1", L"2", L"3"};
  for (const ControlRow& row : kControls) {
    if (row.kind == ControlKind::choice) face.window.set_choices(row.id, entries, 1, L"none");
    if (row.kind == ControlKind::packet_edit) face.window.set_field_text(row.id, L"AT<CR>", 2);
  }
  face.apply_plain_states();
  std::vector<ControlChange> other;
  for (const ControlRow& row : kControls)
    other.push_back({row.id, {false, true, true, L"y"}});
  face.window.apply(other);
  face.window.set_status(L"Ready", StatusTone::error);
  face.window.set_title(L"title");
  face.window.place(grid_placement());
  face.window.measure();
  face.pump();
  EXPECT_EQ(face.events.take(), Log{});
  EXPECT_EQ(face.window.field_text(ControlId::packet_10), L"AT<CR>");
  EXPECT_EQ(face.window.field_caret(ControlId::packet_10), 2u);
  EXPECT_EQ(face.window.selected_choice(ControlId::baud), 1u);
}

TEST(Win32Face, APersonsActionsRaiseOneEventEach) {
  struct Case {
    const char* name;
    ControlId id;
    std::function<void(HWND)> act;
    Log expected;
  };
  const auto click = [](HWND window) { SendMessageW(window, BM_CLICK, 0, 0); };
  const auto key = [](WPARAM code) {
    return [code](HWND window) { SendMessageW(window, WM_KEYDOWN, code, 1); };
  };
  const Case cases[]{
      {"button", ControlId::send_3, click, {"command send_3"}},
      {"check box", ControlId::hide_crlf, click, {"command hide_crlf"}},
      {"unchecked radio button", ControlId::send_hex, click, {"command send_hex"}},
      {"radio button that the program checked", ControlId::send_ascii, click, {}},
      {"Enter in a field", ControlId::packet_10, key(VK_RETURN), {"command packet_10"}},
      {"typing in a field",
       ControlId::packet_4,
       [](HWND window) { SendMessageW(window, WM_CHAR, L'A', 1); },
       {"edited packet_4"}},
      {"Enter's character",
       ControlId::packet_4,
       [](HWND window) { SendMessageW(window, WM_CHAR, VK_RETURN, 1); },
       {}},
      {"arrow key in a choice", ControlId::baud, key(VK_DOWN), {"chosen baud"}},
  };
  Face face;
  face.apply_plain_states();
  const std::vector<std::wstring> entries{L"1200", L"2400", L"4800"};
  face.window.set_choices(ControlId::baud, entries, 0, L"");
  const ControlChange ascii_checked[]{{ControlId::send_ascii, {true, true, true, L"ASCII"}}};
  face.window.apply(ascii_checked);
  face.window.place(grid_placement());
  face.events.take();
  for (const Case& named : cases) {
    SCOPED_TRACE(named.name);
    named.act(face.native(named.id));
    EXPECT_EQ(face.events.take(), named.expected);
  }
  EXPECT_EQ(SendMessageW(face.native(ControlId::hide_crlf), BM_GETCHECK, 0, 0), BST_UNCHECKED)
      << "only the program sets a mark";
  EXPECT_EQ(face.window.selected_choice(ControlId::baud), 1u);
}

TEST(Win32Face, ChoicesMeasureTheirWidestTextAndShowNothingSelected) {
  Face face;
  const std::vector<std::wstring> narrow{L"1"};
  const std::vector<std::wstring> wide{L"1", L"COM9 - a long device description"};
  const auto width = [&] { return face.window.measure().text_width[index_of(ControlId::port)]; };
  face.window.set_choices(ControlId::port, narrow, 0, L"");
  const int one_digit = width();
  face.window.set_choices(ControlId::port, narrow, {}, L"Select a COM port");
  const int placeholder = width();
  EXPECT_FALSE(face.window.selected_choice(ControlId::port));
  face.window.set_choices(ControlId::port, wide, 1, L"Select a COM port");
  EXPECT_LT(0, one_digit);
  EXPECT_LT(one_digit, placeholder);
  EXPECT_LT(placeholder, width());
  EXPECT_EQ(face.window.selected_choice(ControlId::port), 1u);
}

TEST(Win32Face, TheWheelChangesAChoiceOnlyWhileItHasTheKeyboard) {
  Face face;
  face.apply_plain_states();
  const std::vector<std::wstring> entries{L"1200", L"2400", L"4800"};
  face.window.set_choices(ControlId::baud, entries, 0, L"");
  const HWND choice = face.native(ControlId::baud);
  const auto scroll_down = [&] {
    SendMessageW(choice, WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(-WHEEL_DELTA)), 0);
  };
  SetFocus(face.native(ControlId::packet_1));
  scroll_down();
  EXPECT_EQ(face.window.selected_choice(ControlId::baud), 0u);
  EXPECT_EQ(face.events.take(), Log{});
  SetFocus(choice);
  scroll_down();
  EXPECT_EQ(face.window.selected_choice(ControlId::baud), 1u);
  EXPECT_EQ(face.events.take(), Log{"chosen baud"});
}

TEST(Win32Face, CaptionsAreShownAndMeasuredAsTheyAre) {
  Face face;
  const std::wstring caption{L"Wide & wider"};
  for (const ControlId id :
       {ControlId::clear, ControlId::transmit, ControlId::receive_hex, ControlId::baud_label}) {
    SCOPED_TRACE(control(id).name);
    const ControlChange change[]{{id, {true, true, false, caption}}};
    face.window.apply(change);
    const bool is_static = control(id).kind == ControlKind::label;
    EXPECT_EQ(window_text(face.native(id)), is_static ? caption : L"Wide && wider");
    EXPECT_EQ(face.window.measure().text_width[index_of(id)], text_width(font_of(face.native(id)), caption));
  }
}

TEST(Win32Face, HeadingsOfTheGroupsAreBold) {
  const Face face;
  for (const ControlRow& row : kControls) {
    if (row.kind == ControlKind::receive_view) continue;
    LOGFONTW font{};
    GetObjectW(font_of(face.native(row.id)), sizeof font, &font);
    EXPECT_EQ(font.lfWeight >= FW_SEMIBOLD, row.kind == ControlKind::title || row.id == ControlId::transmit)
        << row.name;
  }
}

TEST(Win32Face, AStatusThatDoesNotFitIsShownWholeAsAToolTip) {
  Face face;
  Placement placement{};
  placement[index_of(ControlId::status)] = {0, 0, 200, 24};
  face.window.place(placement);
  HWND tip = nullptr;
  while ((tip = FindWindowExW(nullptr, tip, TOOLTIPS_CLASSW, nullptr)) != nullptr &&
         GetWindow(tip, GW_OWNER) != face.window.handle()) {
  }
  ASSERT_NE(tip, nullptr);
  const auto shown = [&](const std::wstring& status) {
    face.window.set_status(status, StatusTone::error);
    wchar_t text[2000]{};
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.hwnd = face.window.handle();
    tool.uId = reinterpret_cast<UINT_PTR>(face.native(ControlId::status));
    tool.lpszText = text;
    SendMessageW(tip, TTM_GETTEXTW, std::size(text), reinterpret_cast<LPARAM>(&tool));
    return std::wstring{text};
  };
  std::wstring sentence{L"first & "};
  for (int i = 0; i < 100; ++i)
    sentence += L"word ";
  EXPECT_EQ(shown(sentence + L"last"), sentence + L"last");
  EXPECT_EQ(shown(L"Ready"), L"");
}

HICON icon_of(const Win32MainWindow& window, WPARAM which) {
  return reinterpret_cast<HICON>(SendMessageW(window.handle(), WM_GETICON, which, 0));
}

int icon_width(HICON icon) {
  ICONINFO info{};
  if (!GetIconInfo(icon, &info)) return 0;
  const UniqueGdiObject mask{info.hbmMask};
  const UniqueGdiObject color{info.hbmColor};
  BITMAP bitmap{};
  GetObjectW(color.get(), sizeof bitmap, &bitmap);
  return bitmap.bmWidth;
}

TEST(Win32Face, AnotherDpiBringsOtherFontsMarginsAndIconsThenTheSize) {
  Face face;
  const int dpi = static_cast<int>(GetDpiForWindow(face.window.handle()));
  const HWND view = face.native(ControlId::receive_view);
  const auto margin = [&] { return LOWORD(SendMessageW(view, EM_GETMARGINS, 0, 0)); };
  const Metrics before = face.window.measure();
  const auto margin_before = margin();
  const int large_before = icon_width(icon_of(face.window, ICON_BIG));
  const int small_before = icon_width(icon_of(face.window, ICON_SMALL));
  DisplayBatch batch;
  batch.add(L"text", ColorRole::normal);
  face.window.receive_view().append(batch);

  face.events.minimum = {300, 200};
  const RECT suggested{10, 20, 510, 420};
  const auto both = static_cast<WORD>(2 * dpi);
  SendMessageW(face.window.handle(), WM_DPICHANGED, MAKEWPARAM(both, both),
               reinterpret_cast<LPARAM>(&suggested));

  EXPECT_EQ(face.events.take(), (Log{"metrics", "resized"}));
  RECT window{};
  GetWindowRect(face.window.handle(), &window);
  EXPECT_TRUE(EqualRect(&window, &suggested));
  const Metrics after = face.window.measure();
  EXPECT_EQ(after.dpi, 2 * before.dpi);
  EXPECT_GT(after.text_height, 3 * before.text_height / 2);
  EXPECT_GT(after.mono_height, 3 * before.mono_height / 2);
  for (const ControlId id :
       {ControlId::receive_title, ControlId::packet_1, ControlId::status, ControlId::port}) {
    const bool mono = control(id).kind == ControlKind::packet_edit;
    EXPECT_EQ(font_height(font_of(face.native(id))), mono ? after.mono_height : after.text_height);
  }
  EXPECT_EQ(margin(), 2 * margin_before);
  EXPECT_EQ(icon_width(icon_of(face.window, ICON_BIG)), 2 * large_before);
  EXPECT_EQ(icon_width(icon_of(face.window, ICON_SMALL)), 2 * small_before);
  EXPECT_NE(large_before, 0);
}

TEST(Win32Face, PostedMessagesAndTimersArriveWithTheirNumbers) {
  Face face;
  bool accepted = false;
  std::thread([&] { accepted = face.window.post(kDisplayMessage); }).join();
  EXPECT_TRUE(accepted);
  SendMessageW(face.window.handle(), WM_TIMER, 7, 0);
  face.pump();
  EXPECT_EQ(face.events.take(), (Log{"message 275 7", "message 32770 0"}));
}

TEST(Win32Face, ClosingIsToldOnceAndEverythingAfterwardsIsHarmless) {
  Face face;
  SendMessageW(face.window.handle(), WM_ENDSESSION, TRUE, 0);
  SendMessageW(face.window.handle(), WM_CLOSE, 0, 0);
  EXPECT_EQ(face.events.take(), Log{"closing"});
  EXPECT_EQ(face.window.handle(), nullptr);
  EXPECT_TRUE(face.pump()) << "the message loop ends";

  face.apply_plain_states();
  face.window.place(grid_placement());
  face.window.set_choices(ControlId::port, {}, {}, L"none");
  face.window.set_field_text(ControlId::packet_1, L"x", 1);
  face.window.set_status(L"x", StatusTone::plain);
  face.window.set_client_size({100, 100});
  face.window.show();
  face.window.start_timer(1, 10ms);
  face.window.measure();
  DisplayBatch batch;
  batch.add(L"text", ColorRole::normal);
  EXPECT_EQ(face.window.receive_view().append(batch), 0u);
  EXPECT_EQ(face.window.receive_view().line_count(), 0u);
  EXPECT_EQ(face.window.field_text(ControlId::packet_1), L"");
  EXPECT_FALSE(face.window.selected_choice(ControlId::port));
  EXPECT_FALSE(face.window.post(kTaskMessage));
  EXPECT_EQ(face.events.take(), Log{});
}

TEST(Win32Face, AnObjectThatTakesItsWindowAlongLeavesNoQuitMessage) {
  { const Face face; }
  MSG message{};
  EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
}

struct FailingEvents final : RecordingEvents {
  void message(unsigned, std::uintptr_t, std::intptr_t) override {
    log.emplace_back("failed");
    throw std::runtime_error("first failure");
  }
};

TEST(Win32Face, AFailureInAnEventEndsTheLoopAndSilencesTheWindow) {
  const InterfaceLibraries libraries;
  FailingEvents events;
  Win32MainWindow window{events};
  window.post(kTaskMessage);
  window.post(kTaskMessage);
  try {
    run_message_loop(window);
    ADD_FAILURE() << "the loop returned";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "first failure");
  }
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
    DispatchMessageW(&message);
  EXPECT_EQ(events.take(), Log{"failed"});
}

TEST(Win32Face, TheClientAreaTakesTheSizeThatWasAsked) {
  Face face;
  const Size asked{640, 480};
  face.window.set_client_size(asked);
  EXPECT_EQ(client_size(face.window.handle()), asked);
  EXPECT_EQ(face.events.take(), Log{"resized"});
  face.window.set_client_size(asked);
  EXPECT_EQ(face.events.take(), Log{"resized"}) << "the same size is reported as well";
}

TEST(Win32Face, DraggingBelowTheMinimumMovesOnlyTheDraggedEdges) {
  struct Case {
    const char* name;
    WPARAM edge;
    RECT expected;  // from the rectangle 100,100 300,200 and the minimum 400 by 250
  };
  const Case cases[]{
      {"left", WMSZ_LEFT, {-100, 100, 300, 350}},
      {"right", WMSZ_RIGHT, {100, 100, 500, 350}},
      {"top", WMSZ_TOP, {100, -50, 500, 200}},
      {"bottom", WMSZ_BOTTOM, {100, 100, 500, 350}},
      {"top left", WMSZ_TOPLEFT, {-100, -50, 300, 200}},
      {"top right", WMSZ_TOPRIGHT, {100, -50, 500, 200}},
      {"bottom left", WMSZ_BOTTOMLEFT, {-100, 100, 300, 350}},
  };
  for (const Case& named : cases) {
    RECT rect{100, 100, 300, 200};
    enlarge_dragged_rect(rect, named.edge, {400, 250});
    EXPECT_TRUE(EqualRect(&rect, &named.expected)) << named.name;
    const RECT large = rect;
    enlarge_dragged_rect(rect, named.edge, {10, 10});
    EXPECT_TRUE(EqualRect(&rect, &large)) << named.name << ", large enough";
  }
}

TEST(Win32Face, TheWindowRefusesToBeDraggedSmallerThanItsMinimum) {
  Face face;
  const Size frame = frame_size(face.window.handle());
  RECT rect{0, 0, 200, 200};
  EXPECT_EQ(SendMessageW(face.window.handle(), WM_SIZING, WMSZ_BOTTOMRIGHT, reinterpret_cast<LPARAM>(&rect)),
            TRUE);
  EXPECT_EQ(rect.right, face.events.minimum.width + frame.width);
  EXPECT_EQ(rect.bottom, face.events.minimum.height + frame.height);
}

// The follow button is disabled as soon as it is pressed, and the next control is Clear.
TEST(Win32Face, FollowingTakesTheKeyboardToTheView) {
  Face face;
  face.apply_plain_states();
  face.window.show();
  SetFocus(face.native(ControlId::follow));
  ASSERT_EQ(GetFocus(), face.native(ControlId::follow));
  face.window.receive_view().go_to_tail();
  EXPECT_EQ(GetFocus(), face.native(ControlId::receive_view));
}

}  // namespace
}  // namespace hvt::test
