#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "self_test/person.h"

namespace hvt::self_test {

// One thing that a person does with the program, from its start on. The name is that of its picture and its
// folder.
struct Scene {
  std::string_view name;
  void (*play)(Person& person);
};

// By topic; each file of scenes defines one of them.
std::span<const Scene> connection_scenes();
std::span<const Scene> sending_scenes();
std::span<const Scene> repeat_scenes();
std::span<const Scene> receive_scenes();
std::span<const Scene> recording_scenes();
std::span<const Scene> file_scenes();
std::span<const Scene> message_scenes();
std::span<const Scene> window_scenes();
std::span<const Scene> menu_scenes();
std::span<const Scene> closing_scenes();

std::vector<Scene> all_scenes();

}  // namespace hvt::self_test
