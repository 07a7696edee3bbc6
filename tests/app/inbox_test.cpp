// Risk: the hand-over between the worker threads and the interface thread loses, doubles or reorders bytes.

#include "app/inbox.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

#include "app/port_selection.h"

namespace hvt {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(Inbox, KeepsEveryByteInOrderWhileTheReaderTakesAtRandom) {
  constexpr std::size_t kTotal = 1 << 20;
  Inbox inbox([] {});
  std::jthread reader([&] {
    std::minstd_rand random(3);
    for (std::size_t sent = 0; sent < kTotal;) {
      Bytes chunk(std::min<std::size_t>(1 + random() % 5000, kTotal - sent));
      for (std::uint8_t& byte : chunk)
        byte = static_cast<std::uint8_t>((sent++ * 2654435761u) >> 24);
      inbox.add_received(chunk, {});
    }
  });
  InboxBatch batch;
  std::size_t taken = 0;
  while (taken < kTotal) {
    inbox.take(batch);
    std::size_t counted = 0;
    for (const InboxEvent& event : batch.events)
      counted += event.size;
    ASSERT_EQ(counted, batch.bytes.size());
    ASSERT_EQ(batch.lost_bytes, 0u);
    for (const std::uint8_t byte : batch.bytes) {
      ASSERT_EQ(byte, static_cast<std::uint8_t>((taken * 2654435761u) >> 24)) << "at byte " << taken;
      ++taken;
    }
  }
}

TEST(Inbox, HandsOutNothingBehindAPacketThatIsBeingWritten) {
  Inbox inbox([] {});
  InboxBatch batch;
  for (const auto written : {Inbox::Written::yes, Inbox::Written::no}) {
    inbox.add_received(Bytes{1}, {});
    ASSERT_TRUE(inbox.begin_sent(Bytes{2, 2}, {}, {}));
    EXPECT_FALSE(inbox.begin_sent(Bytes{9}, {}, {}));
    inbox.add_received(Bytes{3}, {});
    inbox.take(batch);
    EXPECT_EQ(batch.bytes, (Bytes{1}));
    inbox.add_received(Bytes{4}, {});
    inbox.take(batch);
    EXPECT_TRUE(batch.events.empty());
    inbox.end_sent(written);
    inbox.take(batch);
    EXPECT_EQ(batch.bytes, (Bytes{2, 2, 3, 4}));
    ASSERT_EQ(batch.events.size(), 3u);
    EXPECT_EQ(batch.events[0].kind,
              written == Inbox::Written::yes ? InboxEvent::Kind::sent : InboxEvent::Kind::withdrawn);
  }
}

TEST(Inbox, ATimeOutThatALateAnswerTellsFirstStandsBeforeIt) {
  using Kind = InboxEvent::Kind;
  Inbox inbox([] {});
  InboxBatch batch;
  for (const bool told : {false, true}) {
    const auto timeout = told ? std::nullopt : std::optional(10);
    inbox.add_received(Bytes{1}, {}, ReceiveTimingInfo{ReceiveTimingInfo::Kind::late, {}, timeout});
    inbox.take(batch);
    std::vector<Kind> kinds;
    for (const InboxEvent& event : batch.events)
      kinds.push_back(event.kind);
    const std::vector<Kind> late{Kind::timed_out, Kind::late, Kind::received};
    EXPECT_EQ(kinds, std::vector(late.begin() + (told ? 1 : 0), late.end()));
  }
}

TEST(Inbox, CountsWhatItCannotKeep) {
  int wakes = 0;
  Inbox inbox([&] { ++wakes; }, 4);
  inbox.add_received(Bytes{1, 2, 3}, {});
  inbox.add_received(Bytes{4, 5}, {});
  inbox.add_received(Bytes{6}, {});
  EXPECT_EQ(wakes, 3);
  InboxBatch batch;
  inbox.take(batch);
  EXPECT_EQ(batch.bytes, (Bytes{1, 2, 3, 6}));
  EXPECT_EQ(batch.lost_bytes, 2u);
  inbox.add_received(Bytes{7, 8, 9, 10}, {});
  inbox.take(batch);
  EXPECT_EQ(batch.bytes, (Bytes{7, 8, 9, 10}));
  EXPECT_EQ(batch.lost_bytes, 0u);
}

TEST(PortSelection, FollowsItsRules) {
  const std::vector<PortDescription> both{{L"COM3", L"CP210x"}, {L"COM10", L""}};
  PortSelection selection;
  selection.start(both, L"COM10");
  EXPECT_EQ(selection.chosen(), L"COM10");
  selection.start(both, L"COM7");  // saved and missing: the first one
  EXPECT_EQ(selection.chosen(), L"COM3");
  EXPECT_EQ(selection.labels(), (std::vector<std::wstring>{L"COM3 - CP210x", L"COM10"}));

  selection.mark_used();
  for (int i = 0; i < 2; ++i)
    selection.refresh({{L"COM10", L"new"}});
  EXPECT_EQ(selection.chosen(), L"COM3");
  EXPECT_EQ(selection.labels(), (std::vector<std::wstring>{L"COM3", L"COM10 - new"}));  // bare, no stale text
  selection.refresh(both);
  EXPECT_EQ(selection.labels().front(), L"COM3 - CP210x");

  selection.choose(0);  // chosen again and not used since
  selection.refresh({{L"COM10", L"new"}});
  EXPECT_EQ(selection.chosen(), L"");  // listed is not chosen
  EXPECT_EQ(selection.chosen_row(), std::nullopt);
  selection.choose(0);
  EXPECT_EQ(selection.chosen(), L"COM10");
  selection.refresh({});
  EXPECT_TRUE(selection.empty());
}

}  // namespace
}  // namespace hvt
