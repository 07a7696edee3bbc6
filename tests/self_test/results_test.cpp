#include "self_test/results.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "self_test/person.h"
#include "settings/json.h"

// Risk: a self-test that failed says that it passed, or says why in a document that nobody can read.

namespace hvt::self_test {
namespace {

TEST(Results, PassOnlyWhenEverySceneWasPlayedAndPassed) {
  const SceneResult good{.name = "good", .passed = true};
  const SceneResult bad{.name = "bad", .passed = false};
  const struct {
    const char* name;
    Results results;
    bool passed;
  } kCases[] = {
      {"all good", {{good, good}, true, {}}, true},
      {"one bad", {{good, bad, good}, true, {}}, false},
      {"given up half-way", {{good, good}, false, {}}, false},
      {"nothing played", {{}, true, {}}, false},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.results.passed(), c.passed) << c.name;
    const JsonValue document = parse_json_document(results_document(c.results));
    EXPECT_EQ(find_member(document, "passed")->bool_value, c.passed) << c.name;
    EXPECT_EQ(find_member(document, "scenes")->items.size(), c.results.scenes.size()) << c.name;
  }
}

TEST(Results, TellWhatWasSeenWhateverItIs) {
  const std::wstring kSeen = L"\"quoted\"\n\xD55C \x01";
  const SceneResult scene{
      .name = "bad", .finding = {L"status", L"Ready", kSeen + L"\xD800"}, .picture = "bad.png"};
  const JsonValue document = parse_json_document(results_document({{scene}, true, {}}));
  const JsonValue& told = find_member(document, "scenes")->items.front();
  EXPECT_EQ(find_member(told, "what")->text, "status");
  EXPECT_EQ(find_member(told, "expected")->text, "Ready");
  EXPECT_EQ(utf8_to_utf16(find_member(told, "seen")->text), kSeen + L"\xFFFD");
  EXPECT_EQ(find_member(told, "picture")->text, "bad.png");
}

TEST(WithoutTimes, ReplacesElapsedTimesAndNothingElse) {
  const struct {
    std::wstring_view text;
    std::wstring_view expected;
  } kCases[] = {
      {L"[TX] A [1.2 ms]\n[RX] B", L"[TX] A [t ms]\n[RX] B"},
      {L"[12345.0 ms][0.1 ms]", L"[t ms][t ms]"},
      {L"[TIMEOUT] [LATE] [", L"[TIMEOUT] [LATE] ["},
      {L"[12] [ ms] 1.2 ms]", L"[12] [ ms] 1.2 ms]"},
      {L"", L""},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(without_times(c.text), c.expected);
}

}  // namespace
}  // namespace hvt::self_test
