#include "self_test/scenes.h"

namespace hvt::self_test {

std::vector<Scene> all_scenes() {
  std::vector<Scene> all;
  for (const auto& topic :
       {connection_scenes(), sending_scenes(), repeat_scenes(), receive_scenes(), recording_scenes(),
        file_scenes(), message_scenes(), window_scenes(), menu_scenes(), closing_scenes()})
    all.insert(all.end(), topic.begin(), topic.end());
  return all;
}

}  // namespace hvt::self_test
