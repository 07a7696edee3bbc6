// The risk: a broken or hostile manifest that is taken for a release.

#include "update/manifest.h"

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "tests/support/error_of.h"

namespace hvt {
namespace {

TEST(Manifest, it_is_read_or_refused_with_its_message) {
  struct Case {
    const char* name;
    std::string document;
    std::string expected;  // version and date, or the message
  };
  const std::string kBadVersion = "Invalid latestVersion.";
  const std::string kBadDate = "Invalid releaseDate.";
  const Case kCases[] = {
      {"both", R"({"latestVersion":"1.0.8","releaseDate":"2030-01-31"})", "1.0.8.0 of 2030-01-31"},
      {"no date", R"({"latestVersion":"1.0.8"})", "1.0.8.0 of "},
      {"empty date", R"({"latestVersion":"1.0.8","releaseDate":""})", "1.0.8.0 of "},
      {"a byte-order mark", "\xEF\xBB\xBF{\"latestVersion\":\"1.0.8\"}", "1.0.8.0 of "},
      {"other members", R"({"a":[{}],"latestVersion":"1.0.8","latestversion":7})", "1.0.8.0 of "},
      {"the later of two", R"({"latestVersion":7,"latestVersion":"1.0.8"})", "1.0.8.0 of "},
      {"escapes", R"({"latest\u0056ersion":"1\u002E9\t","releaseDate":"2030\uB144 \uD83D\uDE00"})",
       "1.9.0.0 of 2030\uB144 \U0001F600"},

      {"no version", R"({"releaseDate":"2030-01-31"})", kBadVersion},
      {"a number", R"({"latestVersion":1.0})", kBadVersion},
      {"one part", R"({"latestVersion":"1"})", kBadVersion},
      {"another case", R"({"LatestVersion":"1.0.8"})", kBadVersion},
      {"the version first", R"({"latestVersion":"1","releaseDate":7})", kBadVersion},
      {"a date that is a number", R"({"latestVersion":"1.0","releaseDate":20300131})", kBadDate},
      {"a date that is null", R"({"latestVersion":"1.0","releaseDate":null})", kBadDate},
      {"an array around", R"([{"latestVersion":"1.0.8"}])", "Expected a JSON object."},
      {"a text alone", R"("1.0.8")", "Expected a JSON object."},
      {"nothing", "", "Invalid JSON document."},
      {"too deep", std::string(65536, '['), "JSON nesting limit exceeded."},
  };
  for (const Case& c : kCases) {
    std::string read;
    const std::string error = test::error_of([&] {
      const UpdateResult result = parse_update_manifest(c.document);
      EXPECT_TRUE(result.succeeded) << c.name;
      EXPECT_EQ(result.failure, "") << c.name;
      read = utf16_to_utf8(version_text(result.latest) + L" of " + result.release_date);
    });
    EXPECT_EQ(read.empty() ? error : read, c.expected) << c.name;
  }
}

}  // namespace
}  // namespace hvt
