// The risk: a badge for a release that is not newer, or none for one that is.

#include "update/version.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>

#include "base/text.h"
#include "update/update_status.h"

namespace hvt {
namespace {

using namespace std::string_view_literals;

std::string read_as(std::string_view text) {
  const auto version = parse_version(text);
  return version ? utf16_to_utf8(version_text(*version)) : "invalid";
}

TEST(Version, a_text_is_read_as_four_components_or_refused) {
  const std::pair<std::string_view, const char*> kSound[] = {
      {"1.0", "1.0.0.0"},
      {"1.0.7", "1.0.7.0"},
      {"1.2.3.4", "1.2.3.4"},
      {"0.0", "0.0.0.0"},
      {"007.010", "7.10.0.0"},
      {"2147483647.0.0.2147483647", "2147483647.0.0.2147483647"},
      {"0000000000000000000000001.0", "1.0.0.0"},
      {" 1\t.\r2\n.\v3.4\f ", "1.2.3.4"},
      {"+1.+0", "1.0.0.0"},
      {"-0.-00", "0.0.0.0"},
  };
  for (const auto& [text, version] : kSound)
    EXPECT_EQ(read_as(text), version) << '"' << text << '"';
  std::istringstream unsound(
      "|.|1|1.|.1|1..2|1. .2|1.2.3.4.|1.2.3.4.5|1.a|1.2a|v1.2|1.2-beta|0x1.2|1,2|1 0.2|-1.0|1.-2|+-1.0|--0.0|"
      "-+0.0|+ 1.0|+.0|2147483648.0|3000000000.0|1.99999999999999999999999999|"
      "1.\u00A02|\uFF11.\uFF10");  // a no-break space is no white space here; full-width digits
  for (std::string text; std::getline(unsound, text, '|');)
    EXPECT_EQ(read_as(text), "invalid") << '"' << text << '"';
  for (const std::string_view text : {"1.\0"sv, "1.2\0"sv})
    EXPECT_EQ(read_as(text), "invalid") << "a NUL";
}

// All pairs of a list in rising order, each against its place in the list.
TEST(Version, the_first_component_that_differs_decides) {
  const char* const kRising[] = {
      "0.0",     "0.0.0.1",  "0.9.9.9", "1.0",      "1.0.6.9",           "1.0.7",   "1.0.7.1", "1.0.10",
      "1.1.0.0", "1.10.0.0", "2.0",     "10.0.0.0", "10.0.0.2147483647", "10.0.1.0"};
  for (std::size_t i = 0; i < std::size(kRising); ++i) {
    for (std::size_t j = 0; j < std::size(kRising); ++j) {
      const auto order = *parse_version(kRising[i]) <=> *parse_version(kRising[j]);
      EXPECT_TRUE(order == (i <=> j)) << kRising[i] << " against " << kRising[j];
    }
  }
}

TEST(UpdateStatus, the_outcome_and_the_badge_follow_the_comparison) {
  struct Case {
    const char* published;
    UpdateOutcome outcome;
    bool badge;
    const wchar_t* shown;
  };
  const Case kCases[] = {
      {"1.0.6.9", UpdateOutcome::ahead, false, L"1.0.6.9"},
      {"1.0.7", UpdateOutcome::latest, false, L"1.0.7.0"},
      {"1.0.7.0", UpdateOutcome::latest, false, L"1.0.7.0"},
      {"1.0.7.1", UpdateOutcome::newer, true, L"1.0.7.1"},
      {"1.1", UpdateOutcome::newer, true, L"1.1.0.0"},
  };
  const Version own{{1, 0, 7, 0}};
  for (const Case& c : kCases) {
    UpdateResult result;
    result.succeeded = true;
    result.latest = *parse_version(c.published);
    result.release_date = L"2030-01-31";
    const UpdateStatus status = status_after(result, own);
    EXPECT_EQ(status.outcome, c.outcome) << c.published;
    EXPECT_EQ(status.badge, c.badge) << c.published;
    EXPECT_EQ(status.latest_version, c.shown);
    EXPECT_EQ(status.release_date, L"2030-01-31");
    EXPECT_EQ(status_after(result, own), status) << "the same result again changes nothing";

    const UpdateStatus again = status_while_checking(status);
    EXPECT_EQ(again.outcome, UpdateOutcome::checking);
    EXPECT_EQ(again.badge, c.badge) << "the badge stays until there is a result";
    EXPECT_EQ(again.latest_version + again.release_date, L"");
  }
}

TEST(UpdateStatus, a_failure_shows_no_badge_and_no_values) {
  UpdateResult result;
  result.latest = Version{{9, 9, 9, 9}};
  result.release_date = L"2030-01-31";
  result.failure = "Update request timed out.";
  UpdateStatus expected;
  expected.outcome = UpdateOutcome::failed;
  EXPECT_EQ(status_after(result, program_version()), expected);
}

}  // namespace
}  // namespace hvt
