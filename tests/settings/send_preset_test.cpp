// The risk: packets that come back from a file other than they were typed.

#include "settings/send_preset.h"

#include <gtest/gtest.h>

#include <string>

#include "base/text.h"
#include "settings/data_file.h"
#include "tests/support/error_of.h"
#include "tests/support/folder.h"

namespace hvt {
namespace {

using test::error_of;

TEST(SendPreset, the_file_is_written_byte_for_byte) {
  const test::Folder folder;
  const auto path = send_preset_folder(folder.path()) / kProposedSendPresetName;
  save_send_preset_file(path, {L"AT\\r", L"\"q\"", L"\xD55C", L"", L"<CR>", L"", L"", L"", L"", L"\x1B[m"});
  EXPECT_EQ(read_data_file(folder.path() / "send data" / "serial-send-presets-01.json"), R"({
  "Version": 1,
  "Items": [
    "AT\\r",
    "\"q\"",
    "한",
    "",
    "<CR>",
    "",
    "",
    "",
    "",
    "\u001b[m"
  ]
}
)");
}

TEST(SendPreset, a_document_gives_ten_texts_or_its_message) {
  struct Case {
    const char* name;
    const char* document;
    std::string expected;  // the items behind one another, or the error
  };
  const Case kCases[] = {
      {"empty object", "{}", "||||||||||"},
      {"any version", R"({"Version":2,"Items":["a","b","c"]})", "a|b|c||||||||"},
      {"other keys", R"({"items":["x"],"Name":{},"Items":[null,"b"]})", "|b|||||||||"},
      {"version as text", R"({"Version":"1"})", "Expected a JSON integer."},
      {"version with a fraction", R"({"Version":1.0})", "Invalid or out-of-range JSON integer."},
      {"version before items", R"({"Items":null,"Version":"1"})", "Expected a JSON integer."},
      {"array", "[]", "Expected a JSON object."},
      {"nothing", "", "Invalid JSON document."},
  };
  for (const Case& one : kCases) {
    std::string result;
    const std::string error = error_of([&] {
      for (const std::wstring& item : parse_send_preset(one.document))
        result += utf16_to_utf8(item) + "|";
    });
    EXPECT_EQ(result.empty() ? error : result, one.expected) << one.name;
  }
}

TEST(SendPreset, a_file_that_cannot_be_opened_is_named_so) {
  const test::Folder folder;
  EXPECT_EQ(error_of([&] { load_send_preset_file(folder.path() / "absent.json"); }),
            "Could not open the data file.");
}

}  // namespace
}  // namespace hvt
