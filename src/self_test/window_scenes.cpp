#include <array>

#include "base/text.h"
#include "self_test/scenes.h"

// Scenes: the window's size, scale and languages.

namespace hvt::self_test {
namespace {

using Id = ControlId;

std::wstring size_text(Size size) {
  return std::to_wstring(size.width) + L" x " + std::to_wstring(size.height);
}

bool overlap(const Rect& one, const Rect& other) {
  return one.x < other.right() && other.x < one.right() && one.y < other.bottom() && other.y < one.bottom();
}

struct PlacedControl {
  ControlId id;
  Rect rect;
};

std::vector<PlacedControl> visible_controls(Person& person) {
  std::vector<PlacedControl> placed;
  for (const ControlRow& row : kControls) {
    if (person.driver().look(row.id).visible) placed.push_back({row.id, person.driver().place(row.id)});
  }
  return placed;
}

// "" or what lies in the way of what, or outside.
std::wstring disorder(Person& person) {
  const Size client = person.driver().client_size();
  const auto placed = visible_controls(person);
  const auto name = [](ControlId id) { return utf8_to_utf16(control(id).name); };
  for (std::size_t i = 0; i < placed.size(); ++i) {
    const Rect& rect = placed[i].rect;
    if (rect.empty() || rect.x < 0 || rect.y < 0 || rect.right() > client.width ||
        rect.bottom() > client.height)
      return name(placed[i].id) + L" lies outside of " + size_text(client);
    for (std::size_t j = 0; j < i; ++j) {
      if (overlap(rect, placed[j].rect)) return name(placed[i].id) + L" covers " + name(placed[j].id);
    }
  }
  return {};
}

void sees_order(Person& person) {
  person.sees(
      L"disorder", [&] { return disorder(person); }, L"");
}

void keeps_its_order_at_every_size(Person& person) {
  constexpr std::array kSizes{Size{1100, 1000}, Size{740, 900}, Size{739, 900}, Size{700, 960},
                              Size{699, 960},   Size{610, 960}, Size{800, 800}};
  AppSettings settings = sending_settings();
  settings.send_items[0] = L"still here";
  person.start(settings);
  person.connect();
  person.device().say("still shown");
  person.sees_received(L"[RX] still shown");
  for (const bool shows_panel : {true, false}) {
    person.set_checked(Id::transmit, shows_panel);
    for (const Size size : kSizes) {
      person.driver().resize(size);
      person.sees(
          L"width", [&] { return std::to_wstring(person.driver().client_size().width); },
          std::to_wstring(size.width));
      sees_order(person);
    }
  }
  person.sees_received(L"[RX] still shown");
}

void has_a_smallest_size(Person& person) {
  person.start(sending_settings());
  person.driver().resize({300, 200});
  person.sees_true(L"at least 600 wide", [&] { return person.driver().client_size().width >= 600; });
  sees_order(person);
  person.set_checked(Id::transmit, false);
  person.driver().resize({600, 300});
  sees_order(person);
  person.sees_true(L"the receive view is at least 80 high",
                   [&] { return person.driver().place(Id::receive_view).height >= 80; });
  const int folded = person.driver().client_size().height;
  person.click(Id::transmit);
  person.sees_true(L"the window grew for the panel",
                   [&] { return person.driver().client_size().height > folded; });
  sees_order(person);
}

void opens_at_800_by_800(Person& person) {
  person.start();
  person.sees(
      L"client area", [&] { return size_text(person.driver().client_size()); }, L"800 x 800");
  person.sees(
      L"title", [&] { return person.driver().title().substr(0, 21); }, L"HalvetricSerialTest V");
  person.sees_checked(Id::transmit, false);
  person.sees_true(L"the receive view has the room",
                   [&] { return person.driver().place(Id::receive_view).height > 400; });
  sees_order(person);
}

void grows_with_the_scale(Person& person) {
  AppSettings settings = sending_settings();
  settings.language = L"Korean";
  person.start(settings);
  const int before = person.driver().place(send_button(0)).height;
  for (const int percent : {125, 150, 100}) {
    person.driver().set_scale(percent);
    sees_order(person);
    const int now = person.driver().place(send_button(0)).height;
    person.sees_true(L"buttons have the size for their text",
                     [&] { return percent == 150 ? now > before : now >= before; });
  }
}

constexpr Scene kScenes[]{
    {"opens_at_800_by_800", opens_at_800_by_800},
    {"keeps_its_order_at_every_size", keeps_its_order_at_every_size},
    {"has_a_smallest_size", has_a_smallest_size},
    {"grows_with_the_scale", grows_with_the_scale},
};

}  // namespace

std::span<const Scene> window_scenes() {
  return kScenes;
}

}  // namespace hvt::self_test
