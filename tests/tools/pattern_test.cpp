// The proof that a line lost nothing is only as good as the verifier: it must accept the pattern however it
// is cut, and find every single wrong byte.

#include "tools/virtual_device/pattern.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace hvt::device {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Start = PatternVerifier::Start;
using Fault = PatternFault::Kind;

constexpr std::size_t kRecords = 12;

PatternVerifier verified(PatternKind kind, const Bytes& stream, std::size_t piece, Start start) {
  PatternVerifier verifier(kind, start);
  for (std::size_t at = 0; at < stream.size(); at += piece)
    verifier.feed(std::span(stream).subspan(at, std::min(piece, stream.size() - at)));
  verifier.finish();
  return verifier;
}

class Pattern : public testing::TestWithParam<PatternKind> {
 protected:
  Bytes stream(std::uint64_t first = 0) const { return pattern(GetParam(), first, kRecords); }
  std::size_t size() const { return record_bytes(GetParam()); }
  std::optional<PatternFault> fault_in(const Bytes& bytes, Start start = Start::kAtRecordZero) const {
    return verified(GetParam(), bytes, 100, start).fault();
  }
};

TEST_P(Pattern, IsAcceptedInPiecesOfAnySizeAndWithAnyEnd) {
  const Bytes whole = stream();
  for (std::size_t piece = 1; piece <= 2 * size() + 1; ++piece) {
    const auto verifier = verified(GetParam(), whole, piece, Start::kAtRecordZero);
    ASSERT_FALSE(verifier.fault()) << piece;
    ASSERT_EQ(verifier.whole_records(), kRecords);
    ASSERT_EQ(verifier.bytes(), whole.size());
  }
  for (std::size_t cut = 0; cut < size(); ++cut)
    ASSERT_FALSE(fault_in(Bytes(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(cut)))) << cut;
}

TEST_P(Pattern, MayBeginAnywhereWhenAsked) {
  const Bytes whole = stream(777);
  for (std::size_t cut = 0; cut < size(); ++cut) {
    const Bytes rest(whole.begin() + static_cast<std::ptrdiff_t>(cut), whole.end());
    const auto verifier = verified(GetParam(), rest, 50, Start::kAnywhere);
    ASSERT_FALSE(verifier.fault()) << cut;
    ASSERT_EQ(verifier.first_record(), cut == 0 ? 777U : 778U);
    ASSERT_TRUE(fault_in(rest)) << "record 0 was asked for";
  }
  EXPECT_TRUE(fault_in(Bytes(10 * size(), 'x'), Start::kAnywhere));
}

TEST_P(Pattern, EveryChangedByteIsFoundWhereItIs) {
  for (std::size_t at = 0; at < (kRecords - 1) * size(); ++at) {
    Bytes bytes = stream();
    bytes[at] ^= 0x20;
    const auto fault = fault_in(bytes);
    ASSERT_TRUE(fault) << at;
    EXPECT_EQ(fault->position, at);
    EXPECT_EQ(fault->kind, Fault::kChanged) << at;
    EXPECT_EQ(fault->record, at / size());
  }
}

TEST_P(Pattern, BytesLostOrDoubledAreFoundAndNamed) {
  for (const std::size_t count : {std::size_t{1}, size() - 1, size(), 3 * size(), 3 * size() + 7})
    for (std::size_t at = size(); at < 3 * size(); at += 5) {
      SCOPED_TRACE(std::to_string(count) + " at " + std::to_string(at));
      const auto offset = static_cast<std::ptrdiff_t>(at);
      const auto length = static_cast<std::ptrdiff_t>(count);
      Bytes less = stream();
      less.erase(less.begin() + offset, less.begin() + offset + length);
      const auto lost = fault_in(less);
      ASSERT_TRUE(lost);
      EXPECT_EQ(lost->kind, Fault::kLost);
      EXPECT_GE(lost->position, at);
      EXPECT_LT(lost->position, at + size());

      Bytes more = stream();
      const Bytes twice(more.begin() + offset, more.begin() + offset + length);
      more.insert(more.begin() + offset, twice.begin(), twice.end());
      const auto doubled = fault_in(more);
      ASSERT_TRUE(doubled);
      EXPECT_EQ(doubled->kind, Fault::kRepeated);
    }
}

TEST_P(Pattern, SwappedRecordsAreAFault) {
  Bytes bytes = stream();
  const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(3 * size());
  std::swap_ranges(at, at + static_cast<std::ptrdiff_t>(size()), at + static_cast<std::ptrdiff_t>(size()));
  const auto fault = fault_in(bytes);
  ASSERT_TRUE(fault);
  EXPECT_EQ(fault->record, 3U);
}

INSTANTIATE_TEST_SUITE_P(Both, Pattern, testing::Values(PatternKind::kText, PatternKind::kBinary),
                         [](const auto& kind) {
                           return kind.param == PatternKind::kText ? "Text" : "Binary";
                         });

TEST(PatternForm, TextIsLinesAndBinaryHasEveryByteValue) {
  const Bytes text = pattern(PatternKind::kText, 123, 1);
  EXPECT_EQ(std::string(text.begin(), text.begin() + 15), "SEQ 0000000123 ");
  EXPECT_EQ(std::string(text.end() - 2, text.end()), "\r\n");
  const Bytes binary = pattern(PatternKind::kBinary, 0x0102, 1);
  EXPECT_EQ((Bytes(binary.begin(), binary.begin() + 8)), (Bytes{0, 0, 0, 0, 0, 0, 1, 2}));
  EXPECT_EQ(std::set<std::uint8_t>(binary.begin() + 8, binary.end()).size(), 256U);
}

}  // namespace
}  // namespace hvt::device
