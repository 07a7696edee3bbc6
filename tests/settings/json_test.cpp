// The risk: a document that is read as something it does not say, and text that changes on its way through
// it.

#include "settings/json.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "base/text.h"
#include "settings/send_items.h"
#include "tests/support/error_of.h"

namespace hvt {
namespace {

using namespace std::string_literals;
using test::error_of;

const char* const kInvalid = "Invalid JSON document.";

std::string outcome(const std::string& document) {
  return error_of([&] { parse_json_document(document); });
}

std::string nested(std::size_t depth, const std::string& inner) {
  return std::string(depth, '[') + inner + std::string(depth, ']');
}

TEST(Json, a_document_is_accepted_or_refused_with_its_message) {
  struct Case {
    const char* name;
    std::string document;
    std::string expected;
  };
  const Case kCases[] = {
      {"nothing", "", kInvalid},
      {"whitespace only", " \t\r\n", kInvalid},
      {"a byte-order mark only", "\xEF\xBB\xBF", kInvalid},
      {"a byte-order mark before a value", "\xEF\xBB\xBF{}", "no error"},
      {"two byte-order marks", "\xEF\xBB\xBF\xEF\xBB\xBF{}", kInvalid},
      {"a line feed behind the root", "{}\n", "no error"},
      {"a letter behind the root", "{} x", kInvalid},
      {"a NUL behind the root", "{}\0"s, kInvalid},
      {"form feed as whitespace", "\f{}", kInvalid},
      {"every whitespace everywhere", " \t\r\n{ \"a\" \r\n: [ 1 ,\t2 ] , \"b\":{ } } ", "no error"},
      {"a literal with a letter behind it", "nullx", kInvalid},
      {"a literal cut short", "tru", kInvalid},
      {"a literal in capitals", "True", kInvalid},
      {"trailing comma in an array", "[1,]", kInvalid},
      {"comma only", "[,]", kInvalid},
      {"missing comma", "[1 2]", kInvalid},
      {"array closed by a brace", "[1}", kInvalid},
      {"array without end", "[1", kInvalid},
      {"trailing comma in an object", "{\"a\":1,}", kInvalid},
      {"key without quotes", "{a:1}", kInvalid},
      {"number as a key", "{1:1}", kInvalid},
      {"missing colon", "{\"a\" 1}", kInvalid},
      {"missing value", "{\"a\":}", kInvalid},
      {"object without end", "{\"a\":1", kInvalid},
      {"string without end", "\"a", kInvalid},
      {"escape without end", "\"\\", kInvalid},
      {"single quotes", "'a'", kInvalid},
      {"a comment", "/**/{}", kInvalid},
      {"low surrogate alone", R"("\uDE00")", kInvalid},
      {"high surrogate at the end", R"("\uD83D")", kInvalid},
      {"high surrogate before a letter", R"("\uD83Dx")", kInvalid},
      {"high surrogate before another escape", R"("\uD83D\n")", kInvalid},
      {"two high surrogates", R"("\uD83D\uD83D")", kInvalid},
      {"high surrogate before any other character", R"("\uD83D\u0041")", kInvalid},
      {"three hexadecimal digits", R"("\u12")", kInvalid},
      {"a letter that is no digit", R"("\u12G4")", kInvalid},
      {"capital U", R"("\U0041")", kInvalid},
      {"64 arrays around a number", nested(64, "1"), "no error"},
      {"65 arrays around a number", nested(65, "1"), "JSON nesting limit exceeded."},
      {"65 arrays, the innermost empty", nested(65, ""), "no error"},
      {"a value too deep that is not there", std::string(65, '['), "JSON nesting limit exceeded."},
      {"objects and arrays count alike", "{\"a\":" + nested(64, "1") + "}", "JSON nesting limit exceeded."},
      {"brackets in a string are not nested", "\"" + std::string(100, '[') + "\"", "no error"},
      {"lead byte of an overlong form", "\"\xC0\x80\"", "Invalid UTF-8 in JSON."},
      {"lead byte beyond the last", "\"\xF5\x80\x80\x80\"", "Invalid UTF-8 in JSON."},
      {"continuation without lead", "\"\x80\"", "Invalid UTF-8 in JSON."},
      {"end within a character", "\"\xE2\x82", "Incomplete UTF-8 in JSON."},
      {"too few bytes left come before a wrong one", "\xE2\"", "Incomplete UTF-8 in JSON."},
      {"a letter within a character", "\"\xE2\x82z\"", "Invalid UTF-8 continuation."},
      {"overlong form", "\"\xE0\x9F\xBF\"", "Invalid Unicode scalar in JSON."},
      {"surrogate", "\"\xED\xA0\x80\"", "Invalid Unicode scalar in JSON."},
      {"beyond U+10FFFF", "\"\xF4\x90\x80\x80\"", "Invalid Unicode scalar in JSON."},
      {"bad bytes are found before bad grammar", "]]] \xFF", "Invalid UTF-8 in JSON."},
  };
  for (const Case& one : kCases)
    EXPECT_EQ(outcome(one.document), one.expected) << one.name;
}

TEST(Json, a_number_is_kept_as_it_stands_or_refused) {
  for (const char* text :
       {"0", "-0", "7", "-12.50e+3", "1E5", "1e-05", "0.5", "10", "123456789012345678901234567890"}) {
    const JsonValue value = parse_json_document(" "s + text + " ");
    EXPECT_EQ(value.kind, JsonKind::kNumber) << text;
    EXPECT_EQ(value.text, text);
  }
  for (const char* text :
       {"01", "-", "-a", "+1", ".5", "1.", "1.e5", "1e", "1e+", "00", "0x10", "NaN", "--1"})
    EXPECT_EQ(outcome(text), kInvalid) << text;
}

TEST(Json, an_integer_has_32_bits_and_no_fraction) {
  struct Case {
    const char* document;
    const char* expected;
  };
  const char* const kRange = "Invalid or out-of-range JSON integer.";
  const char* const kKind = "Expected a JSON integer.";
  const Case kCases[] = {{"2147483647", "2147483647"},
                         {"-2147483648", "-2147483648"},
                         {"-0", "0"},
                         {"2147483648", kRange},
                         {"-2147483649", kRange},
                         {"99999999999999999999999", kRange},
                         {"3.0", kRange},
                         {"1e3", kRange},
                         {"\"3\"", kKind},
                         {"null", kKind},
                         {"true", kKind},
                         {"[3]", kKind}};
  for (const Case& one : kCases) {
    const JsonValue value = parse_json_document(one.document);
    std::string result;
    const std::string error = error_of([&] { result = std::to_string(json_value_as_int32(value)); });
    EXPECT_EQ(result.empty() ? error : result, one.expected) << one.document;
  }
}

TEST(Json, the_tree_holds_what_the_document_says) {
  const JsonValue root = parse_json_document(
      R"({"b":[null,true,false,"x",-1.5],"a":{"B":1},"":"empty","b2":[],"a":{"c":"later"}})");
  ASSERT_EQ(root.kind, JsonKind::kObject);
  std::string keys;
  for (const auto& [key, value] : root.members)
    keys += "<" + key + ">";
  EXPECT_EQ(keys, "<><a><b><b2>");
  const JsonValue* array = find_member(root, "b");
  ASSERT_NE(array, nullptr);
  ASSERT_EQ(array->items.size(), 5U);
  EXPECT_EQ(array->items[0].kind, JsonKind::kNull);
  EXPECT_TRUE(array->items[1].kind == JsonKind::kBool && array->items[1].bool_value);
  EXPECT_TRUE(array->items[2].kind == JsonKind::kBool && !array->items[2].bool_value);
  EXPECT_EQ(array->items[3].text, "x");
  EXPECT_EQ(array->items[4].text, "-1.5");
  const JsonValue* twice = find_member(root, "a");
  ASSERT_NE(twice, nullptr);
  EXPECT_EQ(find_member(*twice, "B"), nullptr) << "the later value replaces the earlier one";
  EXPECT_NE(find_member(*twice, "c"), nullptr);
  EXPECT_EQ(find_member(*twice, "C"), nullptr);
}

TEST(Json, every_byte_behind_a_backslash_is_an_escape_or_refused) {
  const std::string letters = "\"/\\bfnrt";
  const std::string meanings = "\"/\\\b\f\n\r\t";
  for (int byte = 0; byte < 0x80; ++byte) {
    const char letter = static_cast<char>(byte);
    const std::string document = "\"\\"s + letter + "\"";
    const std::size_t known = letters.find(letter);
    if (known != std::string::npos) {
      EXPECT_EQ(parse_json_document(document).text, meanings.substr(known, 1)) << byte;
    } else {
      EXPECT_EQ(outcome(document), kInvalid) << byte;
    }
  }
  EXPECT_EQ(parse_json_document(R"("\u0000\u00e9\uAc0f\uD83D\uDE00\uDBFF\uDFFF")").text,
            "\0\xC3\xA9\xEA\xB0\x8F\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"s);
}

TEST(Json, every_byte_is_escaped_only_where_it_must_be) {
  for (int byte = 0; byte < 0x100; ++byte) {
    const char raw = static_cast<char>(byte);
    std::string expected(1, raw);
    if (byte < 0x20) {
      char six[7];
      std::snprintf(six, sizeof six, "\\u%04x", static_cast<unsigned>(byte));
      expected = raw == '\t' ? "\\t" : raw == '\n' ? "\\n" : raw == '\r' ? "\\r" : six;
      EXPECT_EQ(outcome("\""s + raw + "\""), kInvalid) << "raw " << byte;
    }
    if (raw == '"' || raw == '\\') expected = "\\"s + raw;
    EXPECT_EQ(escape_json_string(std::string(1, raw)), "\"" + expected + "\"") << byte;
  }
}

TEST(Json, every_pair_of_characters_survives_escaping_and_parsing) {
  for (int first = 0; first < 0x80; ++first)
    for (int second = 0; second < 0x80; ++second) {
      const std::string text = {static_cast<char>(first), static_cast<char>(second), '\xC3', '\xA9'};
      ASSERT_EQ(parse_json_document(escape_json_string(text)).text, text) << first << " " << second;
    }
}

TEST(Json, a_document_that_is_cut_short_anywhere_is_refused) {
  const std::string document = R"({"a":[1,-2.5e3,{"b":null}],"c":"\u00e9\uD83D\uDE00 )"
                               "\xED\x95\x9C"
                               R"(","d":true})";
  ASSERT_EQ(outcome(document), "no error");
  for (std::size_t length = 0; length < document.size(); ++length)
    EXPECT_NE(outcome(document.substr(0, length)), "no error") << length;
}

TEST(SendItems, the_array_is_written_with_ten_lines) {
  std::string empty = "[\n";
  for (int i = 0; i < 9; ++i)
    empty += "    \"\",\n";
  empty += "    \"\"\n  ]";
  EXPECT_EQ(write_send_items_array({}), empty);
}

TEST(SendItems, an_array_of_any_length_fills_ten_items) {
  struct Case {
    const char* name;
    const char* document;
    std::string expected;  // the items behind one another, or the error
  };
  const char* const kItem = "Expected a send string.";
  const char* const kArray = "Expected an array of send strings.";
  const Case kCases[] = {
      {"none", "[]", "||||||||||"},
      {"three, one of them null", R"(["a",null,"c"])", "a||c||||||||"},
      {"twelve", R"(["1","2","3","4","5","6","7","8","9","10","11",null])", "1|2|3|4|5|6|7|8|9|10|"},
      {"a number among the first", R"(["a",1])", kItem},
      {"a number behind the tenth", "[null,null,null,null,null,null,null,null,null,null,1]", kItem},
      {"an array", "[[]]", kItem},
      {"no array", "{}", kArray},
      {"null", "null", kArray},
      {"a string", "\"a\"", kArray},
  };
  for (const Case& one : kCases) {
    std::string result;
    const std::string error = error_of([&] {
      for (const std::wstring& item : read_send_items_array(parse_json_document(one.document)))
        result += utf16_to_utf8(item) + "|";
    });
    EXPECT_EQ(result.empty() ? error : result, one.expected) << one.name;
  }
}

}  // namespace
}  // namespace hvt
