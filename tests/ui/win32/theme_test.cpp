// Risks: a part that keeps the colours of before, half a change after a failure, drawing objects that are
// lost with each change, a title bar in the colours of another state.

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "face_rig.h"
#include "ui/win32/desktop.h"
#include "ui/win32/look.h"
#include "ui/win32/title_bar.h"

namespace hvt::test {
namespace {

ThemePalette palette(bool dark) {
  return build_theme_palette(dark, desktop_colors());
}

class Win32Theme : public testing::Test {
 protected:
  Win32Theme() { show({}); }

  void show(Facts facts) {
    facts.transmit_expanded = true;
    facts.newer_release = true;
    face_.show_facts(facts, {800, 900});
  }
  // The screen may be lower than the window.
  void bring_into_view(ControlId id) const {
    RECT rect{};
    GetWindowRect(face_.native(id), &rect);
    MapWindowPoints(nullptr, face_.window.handle(), reinterpret_cast<POINT*>(&rect), 2);
    SetWindowPos(face_.window.handle(), nullptr, 10, std::min(0L, 300 - rect.top), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    RedrawWindow(face_.window.handle(), nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  }
  COLORREF at(ControlId id, int x, int y) const {
    bring_into_view(id);
    return pixel(face_.native(id), x, y);
  }
  // A place left of a control.
  COLORREF beside(ControlId id) const { return around(id, -3, 3); }
  // Of the window, counted from the control's corner.
  COLORREF around(ControlId id, int x, int y) const {
    bring_into_view(id);
    RECT rect{};
    GetWindowRect(face_.native(id), &rect);
    POINT point{rect.left + x, rect.top + y};
    ScreenToClient(face_.window.handle(), &point);
    UpdateWindow(face_.window.handle());
    const HDC dc = GetDC(face_.window.handle());
    const COLORREF color = GetPixel(dc, point.x, point.y);
    ReleaseDC(face_.window.handle(), dc);
    return color;
  }
  void expect_palette(const ThemePalette& colors) const;

  Face face_;
};

// One place for each use that a slot has at rest.
void Win32Theme::expect_palette(const ThemePalette& colors) const {
  using enum ThemeColor;
  struct Probe {
    const char* name;
    COLORREF seen;
    COLORREF expected;
  };
  const Probe probes[]{
      {"bar of the menus", beside(ControlId::menu_language), color_ref(colors[menu_bar])},
      {"menu button", at(ControlId::menu_theme, 6, 4), color_ref(colors[menu_bar])},
      {"badge", at(ControlId::update_badge, 12, 4), color_ref(colors[badge])},
      {"connection band", beside(ControlId::connect), color_ref(colors[header])},
      {"connect button", at(ControlId::connect, 8, 4),
       legible(color_ref(colors[primary_button]), color_ref(colors[selection_text]))},
      {"choice", at(ControlId::timeout, 4, 4), color_ref(colors[field])},
      {"disabled choice", at(ControlId::port, 4, 4), color_ref(colors[disabled_field])},
      {"label on the band", at(ControlId::baud_label, 0, 0), color_ref(colors[header])},
      {"mark of a section", around(ControlId::record_title, -5, 12), color_ref(colors[recording])},
      {"window", beside(ControlId::clear), color_ref(colors[window])},
      {"first packet field", at(ControlId::packet_1, 4, 12), color_ref(colors[field])},
      {"second packet field", at(ControlId::packet_2, 4, 12), color_ref(colors[alternate_row])},
      {"beside the second row", beside(ControlId::packet_2), color_ref(colors[alternate_row])},
      {"beside the third row", beside(ControlId::packet_3), color_ref(colors[window])},
      {"sixth packet field", at(ControlId::packet_6, 4, 12), color_ref(colors[alternate_row])},
      {"receive view", at(ControlId::receive_view, 100, 60), color_ref(colors[receive_surface])},
  };
  for (const Probe& probe : probes)
    EXPECT_EQ(probe.seen, probe.expected) << probe.name << std::hex << " " << probe.seen;
}

TEST_F(Win32Theme, EveryPartHasTheColoursOfThePaletteAndComesBack) {
  for (const bool dark : {false, true, false}) {
    SCOPED_TRACE(dark);
    face_.window.set_theme(palette(dark));
    face_.pump();
    expect_palette(palette(dark));
  }
}

TEST_F(Win32Theme, TheSameColoursAgainRepaintNothing) {
  face_.window.set_theme(palette(true));
  face_.pump();
  face_.window.set_theme(palette(true));
  EXPECT_FALSE(GetUpdateRect(face_.window.handle(), nullptr, FALSE));
  EXPECT_FALSE(GetUpdateRect(face_.native(ControlId::receive_view), nullptr, FALSE));
}

// How many drawing objects the process can still have.
class ObjectsLeft {
 public:
  ~ObjectsLeft() { free(); }
  std::size_t take_all() {
    for (;;) {
      UniqueGdiObject brush{CreateSolidBrush(static_cast<COLORREF>(taken_.size()))};
      if (!brush) return taken_.size();
      taken_.push_back(std::move(brush));
    }
  }
  void free() { taken_.clear(); }

 private:
  std::vector<UniqueGdiObject> taken_;
};

TEST_F(Win32Theme, WithoutBrushesEverythingStaysAsItWas) {
  ObjectsLeft objects;
  objects.take_all();
  try {
    face_.window.set_theme(palette(true));
    ADD_FAILURE() << "no failure";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "Could not create theme brushes.");
  }
  objects.free();
  RedrawWindow(face_.window.handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
  face_.pump();
  expect_palette(palette(false));
  face_.window.set_theme(palette(true));
  face_.pump();
  expect_palette(palette(true));
}

std::size_t windows_of_thread() {
  std::size_t count = 0;
  struct Walk {
    static BOOL CALLBACK child(HWND, LPARAM counted) {
      ++*reinterpret_cast<std::size_t*>(counted);
      return TRUE;
    }
    static BOOL CALLBACK top(HWND window, LPARAM counted) {
      EnumChildWindows(window, child, counted);
      return child(window, counted);
    }
  };
  EnumThreadWindows(GetCurrentThreadId(), Walk::top, reinterpret_cast<LPARAM>(&count));
  return count;
}

TEST_F(Win32Theme, ManyChangesLoseNoObjects) {
  const auto change = [&](int times) {
    for (int i = 0; i < times; ++i) {
      face_.window.set_theme(palette(i % 2 == 0));
      face_.apply_facts({.language = i % 2 == 0 ? Language::korean : Language::english});
    }
    face_.pump();
  };
  change(4);
  const std::size_t windows = windows_of_thread();
  const std::size_t objects = ObjectsLeft{}.take_all();
  change(500);
  EXPECT_EQ(windows_of_thread(), windows);
  // The system keeps a few of its own in reserve.
  EXPECT_NEAR(static_cast<double>(ObjectsLeft{}.take_all()), static_cast<double>(objects), 20);
}

TEST(Win32Look, TextIsReadableOnEverySurfaceOfBothPalettes) {
  const COLORREF grounds[]{RGB(240, 240, 240), RGB(255, 255, 255), RGB(30, 30, 30),
                           RGB(60, 60, 60),    RGB(0, 122, 204),   RGB(173, 255, 47)};
  for (const COLORREF ground : grounds) {
    for (const bool dark : {false, true}) {
      for (std::size_t slot = 0; slot < kThemeColorCount; ++slot)
        EXPECT_GE(contrast(legible(color_ref(palette(dark).colors[slot]), ground), ground), 4.5) << slot;
    }
  }
  EXPECT_NEAR(contrast(RGB(0, 0, 0), RGB(255, 255, 255)), 21, 0.01);
}

TEST(Win32Desktop, DarkIsPreferredOnlyWhenTheSettingSaysSo) {
  constexpr const wchar_t* kPersonalize =
      L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
  HKEY stage = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\HalvetricSerialTest.Test", 0, nullptr,
                            REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &stage, nullptr),
            ERROR_SUCCESS);
  ASSERT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, stage), ERROR_SUCCESS);
  EXPECT_FALSE(desktop_prefers_dark_apps()) << "missing";
  const auto set = [&](DWORD type, const void* data, DWORD size) {
    RegSetKeyValueW(HKEY_CURRENT_USER, kPersonalize, L"AppsUseLightTheme", type, data, size);
    return desktop_prefers_dark_apps();
  };
  const DWORD zero = 0;
  const DWORD one = 1;
  EXPECT_TRUE(set(REG_DWORD, &zero, sizeof zero));
  EXPECT_FALSE(set(REG_DWORD, &one, sizeof one));
  EXPECT_FALSE(set(REG_SZ, L"0", 4)) << "another type";
  RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
  RegCloseKey(stage);
  RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\HalvetricSerialTest.Test");
}

TEST(Win32Desktop, TheWindowTellsOfAnotherAppearance) {
  Face face;
  const auto tell = [&](const wchar_t* setting) {
    SendMessageW(face.window.handle(), WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>(setting));
    return face.events.take();
  };
  EXPECT_EQ(tell(L"ImmersiveColorSet"), std::vector<std::string>{"appearance"});
  EXPECT_TRUE(tell(L"intl").empty());
  EXPECT_TRUE(tell(nullptr).empty());
  SendMessageW(face.window.handle(), WM_SYSCOLORCHANGE, 0, 0);
  EXPECT_EQ(face.events.take(), std::vector<std::string>{"appearance"});
}

// What the window manager was told; it may answer with an activation.
struct Caption {
  std::vector<std::pair<DWORD, DWORD>> set;
  HWND window = nullptr;
  int activations_to_come = 0;
};
Caption told;

HRESULT WINAPI tell_caption(HWND, DWORD attribute, LPCVOID value, DWORD) {
  told.set.emplace_back(attribute, *static_cast<const DWORD*>(value));
  if (attribute == 35 && told.activations_to_come-- > 0)
    SendMessageW(told.window, WM_NCACTIVATE, told.activations_to_come % 2 == 0, 0);
  return S_OK;
}

TEST(Win32TitleBar, TheLastActivationDecidesWhateverSettingColoursBringsAbout) {
  const Face face;
  told = {{}, face.window.handle(), 0};
  TitleBar bar{&tell_caption};
  bar.apply(face.window.handle(), true);
  EXPECT_EQ(told.set.front(), std::make_pair(DWORD{20}, DWORD{TRUE}));
  const auto text_after = [&](bool active, int activations) {
    told.activations_to_come = activations;
    SendMessageW(face.window.handle(), WM_NCACTIVATE, active, 0);
    return told.set.back();
  };
  constexpr DWORD kActiveText = RGB(255, 255, 255);
  constexpr DWORD kInactiveText = RGB(204, 204, 204);
  EXPECT_EQ(text_after(true, 0).second, kActiveText);
  EXPECT_EQ(text_after(false, 0).second, kInactiveText);
  EXPECT_EQ(text_after(false, 1).second, kActiveText) << "the one that came meanwhile is the last";
  EXPECT_EQ(text_after(true, 2).second, kActiveText);
  const std::size_t before = told.set.size();
  bar.apply(face.window.handle(), false);
  EXPECT_EQ(told.set.back(), std::make_pair(DWORD{36}, DWORD{0xFFFFFFFF}));
  EXPECT_EQ(told.set.size(), before + 3);
  SendMessageW(face.window.handle(), WM_NCACTIVATE, FALSE, 0);
  EXPECT_EQ(told.set.size(), before + 3) << "no longer watched";
}

}  // namespace
}  // namespace hvt::test
