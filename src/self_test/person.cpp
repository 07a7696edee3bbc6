#include "self_test/person.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "base/text.h"
#include "ui/controls.h"
#include "ui/menus.h"

namespace hvt::self_test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLook{5};  // how often a person looks

std::wstring name_of(ControlId id) {
  return utf8_to_utf16(control(id).name);
}

// Hex input is spaced out and written large while it is typed.
std::wstring bare_hex(std::wstring_view text) {
  std::wstring result = ascii_upper(text);
  std::erase(result, L' ');
  return result;
}

std::wstring yes_no(bool value) {
  return value ? L"yes" : L"no";
}

}  // namespace

Person::Person(Stage& stage, Driver& driver, DeviceBay& bay, std::filesystem::path folder)
    : stage_(stage), driver_(driver), bay_(bay), folder_(std::move(folder)) {
  bay_.reset();
}

// The program

void Person::start(const AppSettings& settings) {
  save_settings(settings_path(folder_), settings);
  start();
}

void Person::start() {
  stage_.open({folder_, recording_});
}

void Person::close(std::chrono::milliseconds limit) {
  take_picture();
  const auto begin = Clock::now();
  driver_.close();
  const int code = stage_.wait_until_closed();
  const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
  if (code != 0) throw Mismatch{{L"exit code", L"0", std::to_wstring(code)}};
  if (taken > limit) {
    throw Mismatch{{L"time to close", L"at most " + std::to_wstring(limit.count()) + L" ms",
                    std::to_wstring(taken.count()) + L" ms"}};
  }
}

void Person::leave() {
  bay_.let_open();
  if (const auto device = bay_.device()) device->set_writing(ScriptedDevice::Writing::accepts);
  if (!stage_.is_open()) return;
  for (int i = 0; i < 5 && driver_.box(); ++i) {
    driver_.answer_box(false);
    settle_briefly();
  }
  driver_.close();
  stage_.wait_until_closed();
}

// Boxes close a moment after they were answered.
void Person::settle_briefly() {
  const auto end = Clock::now() + std::chrono::seconds(1);
  while (driver_.box() && Clock::now() < end)
    std::this_thread::sleep_for(kLook);
}

// Using it

void Person::click(ControlId id) {
  sees_enabled(id, true);
  driver_.click(id);
}

void Person::double_click(ControlId id) {
  sees_enabled(id, true);
  driver_.double_click(id);
}

void Person::press_in(ControlId id, Key key) {
  if (!driver_.has_keyboard(id)) click(id);
  sees_true(name_of(id) + L" has the keyboard", [&] { return driver_.has_keyboard(id); });
  driver_.press(key);
}

void Person::fill(ControlId id, std::wstring_view text) {
  press_in(id, Key::end);
  const std::wstring before = driver_.look(id).text;
  for (std::size_t i = 0; i < before.size(); ++i)
    driver_.press(Key::backspace);
  sees_text(id, L"");
  driver_.type(text);
  sees(
      name_of(id), [&] { return bare_hex(driver_.look(id).text); }, bare_hex(text));
}

void Person::choose(ControlId id, std::wstring_view entry) {
  if (driver_.look(id).text == entry) return;
  click(id);
  sees_true(L"the list of " + name_of(id) + L" is open", [&] { return driver_.list_is_open(id); });
  driver_.press(Key::home);
  driver_.press(Key::enter);
  sees_true(L"the list of " + name_of(id) + L" is closed", [&] { return !driver_.list_is_open(id); });
  constexpr int kMostEntries = 20;
  for (int i = 0; i < kMostEntries; ++i) {
    const std::wstring shown = driver_.look(id).text;
    if (shown == entry) return;
    driver_.press(Key::down);
    sees_true(L"another entry of " + name_of(id), [&] { return driver_.look(id).text != shown; });
  }
  throw Mismatch{{L"entry of " + name_of(id), std::wstring(entry), driver_.look(id).text}};
}

void Person::choose_menu(MenuItem item) {
  const ControlId menu = kMenuItems[index_of(item)].menu;
  click(menu);
  sees_true(L"the menu is open", [&] { return driver_.menu_is_open(); });
  for (std::size_t i = 0; i <= index_of(item); ++i) {
    if (kMenuItems[i].menu == menu) driver_.press(Key::down);
  }
  driver_.press(Key::enter);
  sees_true(L"the menu is closed", [&] { return !driver_.menu_is_open(); });
}

void Person::set_checked(ControlId id, bool checked) {
  if (driver_.look(id).checked == checked) return;
  click(id);
  sees_checked(id, checked);
}

void Person::connect() {
  bay_.forget_device();
  click(ControlId::connect);
  sees_enabled(ControlId::baud, false);
  sees_enabled(ControlId::record, true);
}

void Person::disconnect() {
  click(ControlId::connect);
  sees_enabled(ControlId::baud, true);
}

void Person::answer_notice(std::wstring_view text) {
  sees(
      L"notice", [&] { return front_box().text; }, text);
  answer_box(true);
}

void Person::sees_box(std::wstring_view title, std::wstring_view words) {
  sees(
      L"title of the box", [&] { return front_box().title; }, title);
  sees_true(std::wstring(words) + L" is in the box",
            [&] { return front_box().text.find(words) != std::wstring::npos; });
  answer_box(false);
}

void Person::answer_file_dialog(std::wstring_view title, std::wstring_view name) {
  sees(
      L"title of the file dialog", [&] { return front_box().title; }, title);
  driver_.type_file_name(name);
  sees(
      L"file name in the dialog", [&] { return front_box().text; }, name);
  answer_box(true);
}

void Person::cancel_file_dialog(std::wstring_view title) {
  sees(
      L"title of the file dialog", [&] { return front_box().title; }, title);
  answer_box(false);
}

Box Person::front_box() {
  return driver_.box().value_or(Box{Box::Kind::notice, L"(none)", L"(none)"});
}

void Person::answer_box(bool accept) {
  driver_.take_picture(box_picture_);
  driver_.answer_box(accept);
  sees_true(L"no box", [&] { return !driver_.box(); });
}

// What should be seen

void Person::sees(std::wstring_view what, const std::function<std::wstring()>& now,
                  std::wstring_view expected) {
  const auto end = Clock::now() + kPatience;
  while (true) {
    const bool last_look = Clock::now() >= end;
    std::wstring seen = now();
    if (seen == expected) return;
    if (last_look) throw Mismatch{{std::wstring(what), std::wstring(expected), std::move(seen)}};
    std::this_thread::sleep_for(kLook);
  }
}

void Person::sees_true(std::wstring_view what, const std::function<bool()>& now) {
  sees(
      what, [&] { return yes_no(now()); }, yes_no(true));
}

void Person::sees_text(ControlId id, std::wstring_view expected) {
  sees(
      name_of(id), [&] { return driver_.look(id).text; }, expected);
}

void Person::sees_enabled(ControlId id, bool expected) {
  sees(
      name_of(id) + L" can be used",
      [&] {
        const Sight sight = driver_.look(id);
        return yes_no(sight.enabled && sight.visible);
      },
      yes_no(expected));
}

void Person::sees_visible(ControlId id, bool expected) {
  sees(
      name_of(id) + L" is visible", [&] { return yes_no(driver_.look(id).visible); }, yes_no(expected));
}

void Person::sees_checked(ControlId id, bool expected) {
  sees(
      name_of(id) + L" is checked", [&] { return yes_no(driver_.look(id).checked); }, yes_no(expected));
}

void Person::sees_received(std::wstring_view expected) {
  sees(
      L"receive view", [this] { return received(); }, expected);
}

std::wstring Person::received() const {
  return without_times(driver_.received());
}

void Person::device_gets(std::string_view expected) {
  sees(
      L"bytes that the device got", [&] { return utf8_to_utf16_lossy(device().received()); },
      utf8_to_utf16_lossy(expected));
}

// Input is served in order, so a check box that has followed two clicks is behind everything before.
void Person::settle() {
  const bool before = driver_.look(ControlId::line_break).checked;
  set_checked(ControlId::line_break, !before);
  set_checked(ControlId::line_break, before);
}

ScriptedDevice& Person::device() {
  sees_true(L"the device is open", [this] { return bay_.device() != nullptr; });
  return *bay_.device();
}

std::wstring without_times(std::wstring_view text) {
  constexpr std::wstring_view kUnit = L" ms]";
  std::wstring result;
  while (!text.empty()) {
    const std::size_t open = std::min(text.find(L'['), text.size());
    const std::size_t digits = std::min(text.find_first_not_of(L"0123456789.", open + 1), text.size());
    const bool is_time = open < text.size() && digits > open + 1 && text.substr(digits).starts_with(kUnit);
    result.append(text.substr(0, open)).append(is_time ? L"[t" : L"");
    if (!is_time && open < text.size()) result += L'[';
    text.remove_prefix(is_time ? digits : std::min(open + 1, text.size()));
  }
  return result;
}

AppSettings sending_settings(std::wstring_view port) {
  AppSettings settings;
  settings.port_name = port;
  settings.transmit_enabled = true;
  settings.wait_for_rx = false;
  settings.theme = L"Light";
  return settings;
}

}  // namespace hvt::self_test
