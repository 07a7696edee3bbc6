#include "self_test/results.h"

#include <algorithm>

#include "base/text.h"
#include "settings/json.h"

namespace hvt::self_test {
namespace {

// What a broken program shows may be no text at all.
std::string utf8_lossy(std::wstring text) {
  std::ranges::replace_if(
      text, [](wchar_t unit) { return (unit & 0xF800) == 0xD800; }, L'\xFFFD');
  return utf16_to_utf8(text);
}

std::string json_text(const std::wstring& text) {
  return escape_json_string(utf8_lossy(text));
}

std::string scene_document(const SceneResult& scene) {
  std::string json = "    {\"name\": " + escape_json_string(scene.name);
  json += scene.passed ? ", \"passed\": true" : ", \"passed\": false";
  json += ", \"milliseconds\": " + std::to_string(scene.duration.count());
  json += ", \"picture\": " + escape_json_string(scene.picture);
  if (!scene.passed) {
    json += ", \"what\": " + json_text(scene.finding.what);
    json += ", \"expected\": " + json_text(scene.finding.expected);
    json += ", \"seen\": " + json_text(scene.finding.seen);
  }
  return json + "}";
}

}  // namespace

bool Results::passed() const {
  return complete && !scenes.empty() && std::ranges::all_of(scenes, &SceneResult::passed);
}

std::string results_document(const Results& results) {
  std::string json = "{\n";
  json += results.passed() ? "  \"passed\": true,\n" : "  \"passed\": false,\n";
  json += results.complete ? "  \"complete\": true,\n" : "  \"complete\": false,\n";
  json += "  \"milliseconds\": " + std::to_string(results.duration.count()) + ",\n  \"scenes\": [\n";
  for (const SceneResult& scene : results.scenes) {
    json += scene_document(scene);
    json += &scene == &results.scenes.back() ? "\n" : ",\n";
  }
  return json + "  ]\n}\n";
}

std::string scene_line(const SceneResult& scene) {
  std::string line = scene.passed ? "[       OK ] " : "[  FAILED  ] ";
  line += "SelfTest." + scene.name + " (" + std::to_string(scene.duration.count()) + " ms)\n";
  if (!scene.passed) {
    line += "  what:     " + utf8_lossy(scene.finding.what) + "\n  expected: ";
    line += escape_json_string(utf8_lossy(scene.finding.expected)) + "\n  seen:     ";
    line += escape_json_string(utf8_lossy(scene.finding.seen)) + "\n";
  }
  return line;
}

}  // namespace hvt::self_test
