// Risk: a control that does not show what the rules say: hidden, in use, marked, named or explained
// otherwise.

#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include "annotation_double.h"
#include "face_rig.h"

namespace hvt::test {
namespace {

std::wstring tip_of(const Face& face, HWND control) {
  HWND tips = nullptr;
  while ((tips = FindWindowExW(nullptr, tips, TOOLTIPS_CLASSW, nullptr)) != nullptr &&
         GetWindow(tips, GW_OWNER) != face.window.handle()) {
  }
  wchar_t text[500]{};
  TTTOOLINFOW tool{};
  tool.cbSize = sizeof tool;
  tool.hwnd = face.window.handle();
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = text;
  SendMessageW(tips, TTM_GETTEXTW, std::size(text), reinterpret_cast<LPARAM>(&tool));
  return text;
}

void expect_state(const Face& face, const AnnotationDouble& seen, const ControlRow& row,
                  const ControlState& expected) {
  const HWND native = face.native(row.id);
  EXPECT_EQ(IsWindowVisible(native) != FALSE, expected.visible);
  EXPECT_EQ(IsWindowEnabled(native) != FALSE, expected.enabled);
  if (is_static_text(row.kind) || is_push(row.kind)) {
    EXPECT_EQ(window_text(native), expected.caption);
  }
  if (has_mark(row.kind)) {
    EXPECT_EQ(SendMessageW(native, BM_GETCHECK, 0, 0) == BST_CHECKED, expected.checked) << "mark";
  }
  if (row.kind != ControlKind::status) {
    EXPECT_EQ(tip_of(face, native), expected.tip);
  }
  if (!expected.name.empty()) {
    EXPECT_EQ(seen.names.at(native), expected.name);
  }
  if (!expected.tip.empty()) {
    EXPECT_EQ(seen.descriptions.at(native), expected.tip);
  }
}

TEST(Win32Conformance, EveryControlShowsWhatTheRulesSay) {
  const Facts facts[]{
      {.has_ports = true},
      {.link = LinkState::connected, .transmit_expanded = true, .repeat = RepeatState::running},
      {.language = Language::korean,
       .always_on_top = true,
       .newer_release = true,
       .link = LinkState::connecting,
       .receive_hex = true,
       .transmit_expanded = true,
       .high_speed = true,
       .paused = true},
      {.record = RecordState::running},
  };
  const ComApartment apartment;
  AnnotationsSeen seen;
  Face face;
  for (std::size_t i = 0; i < std::size(facts); ++i) {
    face.show_facts(facts[i], {800, 940});
    const ControlStates expected = rules(facts[i]);
    for (const ControlRow& row : kControls) {
      SCOPED_TRACE(std::string{row.name} + ", facts " + std::to_string(i));
      expect_state(face, seen.annotations, row, expected[index_of(row.id)]);
    }
  }
  SendMessageW(face.window.handle(), WM_CLOSE, 0, 0);
  EXPECT_TRUE(seen.annotations.names.empty()) << "names go with the window";
  MSG message{};
  PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);
}

// The placement is that of the layout; what the layout gives, the captions fit into.
// As the system tells it when the window comes to another monitor.
void move_to_dpi(Face& face, int dpi) {
  RECT rect{};
  GetWindowRect(face.window.handle(), &rect);
  SendMessageW(face.window.handle(), WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&rect));
}

TEST(Win32Conformance, CaptionsFitTheirControlsInBothLanguagesAtEveryDpi) {
  Face face;
  for (const int dpi : {96, 120, 144, 168, 192}) {
    move_to_dpi(face, dpi);
    for (const Language language : {Language::english, Language::korean}) {
      for (const int width : {600, 700, 740, 800}) {
        SCOPED_TRACE(testing::Message() << width << " wide, " << dpi << " dpi");
        face.show_facts(Facts{.language = language, .newer_release = true, .transmit_expanded = true},
                        {width * dpi / 96, 1000 * dpi / 96});
        const Metrics metrics = face.window.measure();
        EXPECT_EQ(metrics.dpi, dpi);
        for (const ControlRow& row : kControls) {
          if (!is_push(row.kind) && !is_static_text(row.kind)) continue;
          RECT client{};
          GetClientRect(face.native(row.id), &client);
          EXPECT_LE(metrics.text_width[index_of(row.id)], client.right) << row.name;
          EXPECT_LE(metrics.text_height, client.bottom) << row.name;
        }
      }
    }
  }
}

}  // namespace
}  // namespace hvt::test
