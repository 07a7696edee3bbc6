// The risk: preferences that are lost or changed between two runs, and a damaged file that is taken for good.

#include "settings/app_settings.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/text.h"
#include "settings/data_file.h"
#include "tests/support/error_of.h"
#include "tests/support/folder.h"

namespace hvt {
namespace {

using test::error_of;

const char* const kGoldenFile = R"({
  "WindowLeft": -7,
  "WindowTop": 20,
  "WindowWidth": 1024,
  "WindowHeight": 768,
  "WindowState": "Maximized",
  "Language": "Korean",
  "Theme": "Dark",
  "ReceiveCrLfLineBreaks": true,
  "HideReceiveCrLf": false,
  "ReceiveFontSize": 12,
  "ReceiveBufferSizeMB": 4,
  "BaudRate": "250000",
  "PortName": "COM3",
  "ConnectionTimeoutSeconds": 5,
  "AlwaysOnTop": true,
  "DataBits": "7",
  "StopBits": "1.5",
  "Parity": "Even",
  "ReceiveHex": false,
  "SendHex": true,
  "AutoAppendCrLf": true,
  "EchoSent": false,
  "DisplayWhileRecording": true,
  "TransmitEnabled": false,
  "WaitForRx": true,
  "RepeatCount": "0",
  "PacketStart": "2",
  "PacketEnd": "9",
  "IntervalMilliseconds": "abc",
  "ResponseTimeoutMilliseconds": "",
  "SendItems": [
    "AT\\r",
    "say \"hi\"",
    "\t\n\r\u0008\u000c\u0000",
    "한글 é 😀",
    "<CR><LF>",
    "a/b",
    "",
    "",
    "",
    "01 FF"
  ]
}
)";

AppSettings golden_settings() {
  AppSettings settings;
  settings.window_left = -7;
  settings.window_top = 20;
  settings.window_width = 1024;
  settings.window_height = 768;
  settings.window_state = L"Maximized";
  settings.language = L"Korean";
  settings.theme = L"dARK";  // written in its proper form
  settings.receive_crlf_line_breaks = true;
  settings.receive_font_size = 12;
  settings.receive_buffer_size_mb = 4;
  settings.baud_rate = L"250000";
  settings.port_name = L"COM3";
  settings.connection_timeout_seconds = 5;
  settings.always_on_top = true;
  settings.data_bits = L"7";
  settings.stop_bits = L"1.5";
  settings.parity = L"Even";
  settings.send_hex = true;
  settings.auto_append_crlf = true;
  settings.echo_sent = false;
  settings.repeat_count = L"0";
  settings.packet_start = L"2";
  settings.packet_end = L"9";
  settings.interval_milliseconds = L"abc";
  settings.response_timeout_milliseconds = L"";
  settings.send_items = {L"AT\\r",
                         L"say \"hi\"",
                         std::wstring(L"\t\n\r\b\f\0", 6),
                         L"\xD55C\xAE00 \xE9 \xD83D\xDE00",
                         L"<CR><LF>",
                         L"a/b",
                         L"",
                         L"",
                         L"",
                         L"01 FF"};
  return settings;
}

TEST(AppSettings, the_file_is_the_golden_file_byte_for_byte) {
  const test::Folder folder;
  const auto path = settings_path(folder.path());
  save_settings(path, golden_settings());
  EXPECT_EQ(path, folder.path() / "config" / "settings.json");
  EXPECT_EQ(read_data_file(path), kGoldenFile);
  AppSettings expected = golden_settings();
  expected.theme = L"Dark";
  const LoadedSettings loaded = load_settings(path);
  EXPECT_TRUE(loaded.settings == expected);
  EXPECT_TRUE(loaded.has_saved_window_size);
}

TEST(AppSettings, without_a_file_they_are_the_defaults) {
  const test::Folder folder;
  for (const auto& path : {settings_path(folder.path()), folder.path() / "absent.json"}) {
    const LoadedSettings loaded = load_settings(path);
    EXPECT_TRUE(loaded.settings == AppSettings{});
    EXPECT_FALSE(loaded.has_saved_window_size);
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "loading leaves no trace";
}

// What differs from the defaults, as the lines of the saved file that do.
std::string difference(const AppSettings& settings) {
  const std::string defaults = serialize_settings({});
  const std::string text = serialize_settings(settings);
  std::string lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin) + 1;
    const std::string line = text.substr(begin, end - begin);
    if (defaults.find(line) == std::string::npos) lines += line.substr(2, line.size() - 3);
    begin = end;
  }
  return lines;
}

TEST(AppSettings, every_flag_is_its_own) {
  std::istringstream defaults(serialize_settings({}));
  int flags = 0;
  for (std::string line; std::getline(defaults, line);) {
    const bool was_true = line.ends_with(": true,");
    if (!was_true && !line.ends_with(": false,")) continue;
    const std::string key = line.substr(2, line.find(':') - 2);
    const std::string flipped = key + (was_true ? ": false" : ": true");
    EXPECT_EQ(difference(parse_settings("{" + flipped + "}").settings), flipped + ",");
    ++flags;
  }
  EXPECT_EQ(flags, 10);
}

TEST(AppSettings, a_value_is_taken_repaired_or_ignored) {
  struct Case {
    const char* document;
    const char* expected;
  };
  const Case kCases[] = {
      {R"({})", ""},
      {R"({"ReceiveFontSize":7})", ""},
      {R"({"ReceiveFontSize":8})", R"("ReceiveFontSize": 8,)"},
      {R"({"ReceiveFontSize":24})", R"("ReceiveFontSize": 24,)"},
      {R"({"ReceiveFontSize":25})", ""},
      {R"({"ReceiveBufferSizeMB":0})", ""},
      {R"({"ReceiveBufferSizeMB":4})", R"("ReceiveBufferSizeMB": 4,)"},
      {R"({"ReceiveBufferSizeMB":5})", ""},
      {R"({"ConnectionTimeoutSeconds":1})", R"("ConnectionTimeoutSeconds": 1,)"},
      {R"({"ConnectionTimeoutSeconds":2})", ""},
      {R"({"ConnectionTimeoutSeconds":5})", R"("ConnectionTimeoutSeconds": 5,)"},
      {R"({"ConnectionTimeoutSeconds":7})", ""},
      {R"({"Theme":"dark"})", R"("Theme": "Dark",)"},
      {R"({"Theme":"LIGHT"})", R"("Theme": "Light",)"},
      {R"({"Theme":"Blue"})", ""},
      {R"({"Language":"KOREAN"})", R"("Language": "Korean",)"},
      {R"({"Language":"French"})", ""},
      {R"({"WindowState":"Maximized"})", R"("WindowState": "Maximized",)"},
      {R"({"WindowState":"maximized"})", ""},
      {R"({"BaudRate":"250000"})", R"("BaudRate": "250000",)"},
      {R"({"RepeatCount":null})", ""},
      {R"({"RepeatCount":"many"})", R"("RepeatCount": "many",)"},
      {R"({"EchoSent":null,"WaitForRx":false})", R"("WaitForRx": false,)"},
      {R"({"WindowLeft":-2147483648})", R"("WindowLeft": -2147483648,)"},
      {R"({"SendItems":null})", ""},
      {R"({"SendItems":["a","b","c"]})", R"(  "a",  "b",  "c",)"},
      {R"({"baudrate":"9600","ShowRecord":true,"PortName":"COM4"})", R"("PortName": "COM4",)"},
  };
  for (const Case& one : kCases)
    EXPECT_EQ(difference(parse_settings(one.document).settings), one.expected) << one.document;
}

TEST(AppSettings, a_value_of_the_wrong_kind_fails_the_whole_load) {
  struct Case {
    const char* document;
    const char* expected;
  };
  const Case kCases[] = {
      {R"({"WindowLeft":null})", "Expected a JSON integer."},
      {R"({"WindowLeft":"1"})", "Expected a JSON integer."},
      {R"({"ReceiveFontSize":true})", "Expected a JSON integer."},
      {R"({"WindowTop":1.5})", "Invalid or out-of-range JSON integer."},
      {R"({"WindowTop":4294967296})", "Invalid or out-of-range JSON integer."},
      {R"({"Theme":1})", "Expected a JSON string."},
      {R"({"BaudRate":115200})", "Expected a JSON string."},
      {R"({"EchoSent":0})", "Expected a JSON boolean."},
      {R"({"EchoSent":"true"})", "Expected a JSON boolean."},
      {R"({"SendItems":{}})", "Expected an array of send strings."},
      {R"({"SendItems":[1]})", "Expected a send string."},
      {R"([])", "Expected a JSON object."},
      {R"(null)", "Expected a JSON object."},
      {R"({)", "Invalid JSON document."},
  };
  for (const Case& one : kCases)
    EXPECT_EQ(error_of([&] { parse_settings(one.document); }), one.expected) << one.document;
}

TEST(AppSettings, a_window_size_counts_as_saved_when_both_parts_are_above_zero) {
  struct Case {
    const char* document;
    bool expected;
  };
  const Case kCases[] = {
      {R"({"WindowWidth":1,"WindowHeight":1})", true},
      {R"({"WindowWidth":800})", false},
      {R"({"WindowHeight":800})", false},
      {R"({"WindowWidth":0,"WindowHeight":600})", false},
      {R"({"WindowWidth":800,"WindowHeight":-1})", false},
      {R"({})", false},
  };
  for (const Case& one : kCases)
    EXPECT_EQ(parse_settings(one.document).has_saved_window_size, one.expected) << one.document;
}

TEST(AppSettings, a_text_that_is_no_unicode_is_not_saved) {
  const test::Folder folder;
  const auto path = folder.path() / "settings.json";
  save_settings(path, golden_settings());
  AppSettings settings;
  settings.send_items[9] = L"\xD800";
  EXPECT_EQ(error_of([&] { save_settings(path, settings); }), "Invalid Unicode text.");
  EXPECT_EQ(read_data_file(path), kGoldenFile);
}

}  // namespace
}  // namespace hvt
