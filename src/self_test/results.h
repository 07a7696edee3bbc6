#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace hvt::self_test {

// What a scene saw that it did not expect.
struct Finding {
  std::wstring what;
  std::wstring expected;
  std::wstring seen;
};

struct SceneResult {
  std::string name{};
  bool passed = false;
  std::chrono::milliseconds duration{};
  Finding finding{};      // of one that failed
  std::string picture{};  // file name in the run folder
};

struct Results {
  std::vector<SceneResult> scenes;
  bool complete = false;  // every scene was played
  std::chrono::milliseconds duration{};

  bool passed() const;
};

// JSON, one scene a line.
std::string results_document(const Results& results);
// For a console, in the form of the other tests: one line, and after a failure what was seen.
std::string scene_line(const SceneResult& scene);

}  // namespace hvt::self_test
