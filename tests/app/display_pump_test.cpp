// Risk: on its way from the inbox to the view text is lost, doubled, shown out of order or for too long at a
// time, or a paused view changes under a reader's eyes or grows for ever.

#include "app/display_pump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "tests/support/recording_window.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint64_t kCapacity = DisplayPump::kFirstCapacity;

// A pump whose clock moves by `step` whenever it is read.
struct Rig {
  Inbox inbox{[] {}};
  test::PlainReceiveView view;
  std::chrono::steady_clock::time_point now{1000s};
  std::chrono::microseconds step{0};
  DisplayPump pump{inbox, view, [this] { return now += step; }};
  DisplayOptions options;

  void receive(const Bytes& bytes) { inbox.add_received(bytes, {}); }
  void receive(std::size_t count, char letter) { receive(Bytes(count, static_cast<std::uint8_t>(letter))); }
  void send(std::size_t count, char letter) {
    inbox.begin_sent(Bytes(count, static_cast<std::uint8_t>(letter)), {}, {.labels = true});
    inbox.end_sent(Inbox::Written::yes);
  }
  DisplayPump::Result run() { return pump.run(options, Language::english); }
  // All that can be shown by now; the number of runs it took.
  int run_out() {
    int runs = 1;
    while (run().more)
      ++runs;
    return runs;
  }
  void show(std::size_t count, char letter) {
    receive(count, letter);
    run_out();
  }
  std::size_t shown(wchar_t letter) const {
    return static_cast<std::size_t>(std::count(view.text().begin(), view.text().end(), letter));
  }
};

TEST(DisplayPump, ShowsTheSameTextHoweverItIsCutIntoChunksAndRuns) {
  std::mt19937 random(3);
  for (int round = 0; round < 40; ++round) {
    Rig whole;
    whole.options = {.hex = round % 5 == 0, .line_break = round % 2 == 0, .labels = round % 3 == 0};
    Rig cut;
    cut.options = whole.options;
    cut.step = std::chrono::microseconds(random() % 3000);
    Bytes stream;
    const auto whole_takes_stream = [&] {
      if (!stream.empty()) whole.receive(stream);
      stream.clear();
    };
    for (int i = 0; i < 200; ++i) {
      Bytes chunk(1 + random() % 90);
      for (std::uint8_t& byte : chunk)
        byte = static_cast<std::uint8_t>(random() % 4 == 0 ? "\r\n"[random() % 2] : random());
      cut.receive(chunk);
      stream.insert(stream.end(), chunk.begin(), chunk.end());
      if (random() % 20 == 0) {
        whole_takes_stream();
        for (Rig* const rig : {&whole, &cut})
          rig->send(7, 't');
      }
      if (random() % 6 == 0) cut.run();
    }
    whole_takes_stream();
    whole.run_out();
    cut.run_out();
    ASSERT_EQ(cut.view.text(), whole.view.text()) << "round " << round;
    ASSERT_FALSE(cut.view.updating());
  }
}

TEST(DisplayPump, EndsARunSoonAfterItsSlice) {
  Rig rig;
  rig.step = 100us;  // so long do a piece and a chunk take
  rig.receive(Bytes(200'000, 'x'));
  const auto start = rig.now;
  EXPECT_TRUE(rig.run().more);
  EXPECT_GE(rig.now - start, DisplayPump::kSlice);
  EXPECT_LE(rig.now - start, DisplayPump::kSlice + 1ms);
  EXPECT_GT(rig.view.text().size(), 20'000u) << "formatting leaves time for showing";
  EXPECT_GT(rig.run_out(), 2);
  EXPECT_EQ(rig.view.text().size(), 200'000u);
}

TEST(DisplayPump, ShowsTheEndOfABurstAtOnceAndLeavesNothingUnpainted) {
  Rig rig;
  rig.receive(10, 'a');
  EXPECT_TRUE(rig.run().shown);
  for (int i = 0; i < 1000; ++i) {
    rig.now += 1ms;
    rig.receive(10, 'b');
    rig.run();
  }
  const auto& updates = rig.view.updates();
  const auto painted = std::count_if(updates.begin(), updates.end(), [](auto& u) { return u.repaint; });
  const auto scrolled = std::count_if(updates.begin(), updates.end(), [](auto& u) { return u.scroll; });
  EXPECT_LE(painted, 45);
  EXPECT_LE(scrolled, painted);
  rig.now += 50ms;  // the timer
  rig.run();
  EXPECT_TRUE(updates.back().repaint);
  const std::size_t done = updates.size();
  rig.now += 50ms;
  EXPECT_FALSE(rig.run().shown);
  EXPECT_EQ(updates.size(), done) << "nothing to do";
}

TEST(DisplayPump, LeavesATrickleToTheTimerAndNothingElse) {
  Rig rig;
  const auto trickles_after = [&](std::chrono::microseconds pause, std::size_t bytes) {
    bool trickles = false;
    for (int i = 0; i < 300; ++i) {
      rig.now += pause;
      rig.receive(bytes, 'a');
      trickles = rig.run().trickles;
    }
    return trickles;
  };
  rig.receive(10, 'a');
  EXPECT_FALSE(rig.run().trickles) << "the first bytes after a while";
  EXPECT_TRUE(trickles_after(2ms, 300));
  EXPECT_FALSE(trickles_after(100us, 4000)) << "in a tick as much as the queue holds";
  EXPECT_TRUE(trickles_after(2ms, 300));
  EXPECT_FALSE(trickles_after(1s, 300)) << "each is shown at once";
}

TEST(DisplayPump, KeepsTheLatestBytesOfEachKindWhileItFollows) {
  Rig rig;
  rig.options.labels = true;
  rig.show(kCapacity, 'a');
  EXPECT_EQ(rig.shown(L'a'), kCapacity) << "all of the capacity can be used";
  for (int i = 0; i < 3; ++i)
    rig.send(kCapacity / 2, 'x');
  rig.run_out();
  EXPECT_EQ(rig.shown(L'a'), kCapacity) << "sent packets cost no received bytes";
  EXPECT_EQ(rig.shown(L'x'), kCapacity);
  rig.show(1, 'b');
  EXPECT_LT(rig.shown(L'a'), kCapacity);
  EXPECT_GE(rig.shown(L'a'), kCapacity - 8192) << "the oldest piece only";
}

TEST(DisplayPump, APausedViewOnlyGetsTextBelowUntilItFollows) {
  Rig rig;
  rig.show(kCapacity, 'a');
  rig.pump.pause();
  const std::size_t before = rig.view.updates().size();
  for (int i = 0; i < 16; ++i) {
    rig.receive(kCapacity / 16, 'b');
    rig.send(100, 's');
    rig.run_out();
  }
  EXPECT_EQ(rig.shown(L'a'), kCapacity) << "nothing expired";
  EXPECT_EQ(rig.shown(L'b'), kCapacity);
  for (std::size_t i = before; i < rig.view.updates().size(); ++i)
    EXPECT_FALSE(rig.view.updates()[i].follow);
  rig.pump.follow();
  EXPECT_EQ(rig.view.went_to_tail(), 1);
  rig.run_out();
  EXPECT_EQ(rig.shown(L'a'), 0u);
  EXPECT_EQ(rig.shown(L'b'), kCapacity);
  EXPECT_EQ(rig.shown(L's'), 1600u);
}

TEST(DisplayPump, APausedViewIsBoundedAndTellsWhenItIsFull) {
  Rig rig;
  rig.pump.pause();
  bool told = false;
  std::size_t received = 0;
  for (; !told && received < 10 * kCapacity; received += 4096) {
    rig.receive(4096, 'a');
    DisplayPump::Result result = rig.run();
    for (int runs = 0; result.more && runs < 1000; ++runs)
      result = rig.run();
    ASSERT_FALSE(result.more) << "it would run for ever";
    told = told || result.became_full;
  }
  EXPECT_TRUE(told);
  EXPECT_EQ(rig.shown(L'a'), 2 * kCapacity);
  EXPECT_GE(received, 3 * kCapacity);
  EXPECT_LE(received, 3 * kCapacity + 4096);
  rig.pump.follow();  // what waited is shown, and nothing that came later
  rig.run_out();
  rig.receive(4096, 'b');
  EXPECT_FALSE(rig.run().became_full) << "it is told once";
  EXPECT_EQ(rig.shown(L'a'), kCapacity);
  EXPECT_EQ(rig.shown(L'b'), 0u);
  EXPECT_GE(rig.pump.dropped_bytes(), 4096u);
  rig.pump.pause();
  rig.pump.clear();
  EXPECT_FALSE(rig.pump.full() || rig.pump.paused());
  rig.show(3, 'c');
  EXPECT_EQ(rig.view.text(), L"ccc");
}

// Writes down what it is given; a line break it is told of is a "|", the stop mark a "#".
struct NotingSink final : TextSink {
  void take(const DisplayBatch& batch) override {
    text += batch.text();
    bytes += batch.raw_rx_bytes;
  }
  void break_line() override { text += L'|'; }
  void stop_mark_reached() override { text += L'#'; }
  bool has_room() const override { return room; }

  std::wstring text;
  std::uint64_t bytes = 0;
  bool room = true;
};

struct SinkRig : Rig {
  SinkRig() { pump.set_sink(&sink); }
  void clear() {
    pump.clear_shown();
    inbox.add_mark(InboxEvent::Kind::clear_mark);
  }
  NotingSink sink;
};

TEST(DisplayPump, TheSinkGetsEverythingOnceWhateverTheViewDoes) {
  SinkRig rig;
  rig.pump.pause();
  const std::size_t all = 4 * kCapacity;
  for (std::size_t received = 0; received < all; received += 65'536)
    rig.show(65'536, 'a');
  EXPECT_TRUE(rig.pump.full());
  EXPECT_EQ(std::erase(rig.sink.text, L'|'), 1u) << "lines begin anew where the display became full";
  EXPECT_TRUE(rig.sink.text == std::wstring(all, L'a'));
  EXPECT_EQ(rig.sink.bytes, all);
  rig.pump.set_sink(nullptr);
  const std::uint64_t dropped = rig.pump.dropped_bytes();
  rig.show(1000, 'b');
  EXPECT_EQ(rig.pump.dropped_bytes(), dropped + 1000) << "counted though nobody wants it";
  EXPECT_EQ(rig.sink.text.size(), all);
}

TEST(DisplayPump, ClearsTakeNothingFromTheSinkAndAllThatCameBeforeFromTheView) {
  SinkRig rig;
  rig.show(3, 'a');
  rig.receive(3, 'b');  // on its way
  rig.clear();
  rig.receive(3, 'c');
  EXPECT_EQ(rig.view.text(), L"");
  rig.clear();
  rig.show(3, 'd');
  EXPECT_EQ(rig.view.text(), L"ddd");
  rig.inbox.add_mark(InboxEvent::Kind::stop_mark);
  rig.show(3, 'e');
  EXPECT_EQ(rig.sink.text, L"aaabbb|ccc|ddd#eee");
}

TEST(DisplayPump, ASinkWithoutRoomIsWaitedFor) {
  SinkRig rig;
  rig.sink.room = false;
  rig.show(1000, 'a');
  EXPECT_EQ(rig.sink.text, L"");
  EXPECT_EQ(rig.view.text(), L"");
  // Not for ever: half of what the inbox holds must stay free.
  for (std::size_t held = 0; held <= Inbox::kCapacity / 2; held += 1 << 20)
    rig.receive(1 << 20, 'a');
  rig.run_out();
  EXPECT_GT(rig.sink.bytes, 0u);
}

TEST(DisplayPump, WhatIsOnlyForTheSinkIsNotShown) {
  SinkRig rig;
  rig.pump.show_sink_text(false);
  rig.show(3, 'a');
  rig.pump.show_sink_text(true);
  rig.show(3, 'b');
  EXPECT_EQ(rig.view.text(), L"bbb");
  rig.pump.show_sink_text(false);
  rig.show(3, 'c');
  rig.pump.show_sink_text(true);
  rig.receive(3, 'd');
  rig.show(3, 'e');
  EXPECT_EQ(rig.sink.text, L"aaabbbcccdddeee");
  EXPECT_EQ(rig.view.text(), L"bbb\r\ndddeee") << "what comes after a gap begins a line";
  rig.pump.show_sink_text(false);
  rig.receive(3, 'f');
  rig.inbox.add_mark(InboxEvent::Kind::stop_mark);
  rig.show(3, 'g');
  EXPECT_EQ(rig.view.text(), L"bbb\r\ndddeee\r\nggg") << "what the sink need not take is shown";
}

TEST(DisplayPump, FewerBytesTakeEffectAtOnce) {
  Rig rig;
  rig.pump.set_capacity(4 * kCapacity);
  for (int i = 0; i < 4; ++i)
    rig.receive(kCapacity, static_cast<char>('a' + i));
  rig.run_out();
  EXPECT_EQ(rig.view.text().size(), 4 * kCapacity);
  rig.pump.pause();
  rig.pump.set_capacity(2 * kCapacity);
  EXPECT_EQ(rig.view.text().size(), 4 * kCapacity) << "not while somebody reads it";
  rig.pump.follow();
  EXPECT_EQ(rig.view.text().size(), 2 * kCapacity);
  rig.pump.set_capacity(kCapacity);
  EXPECT_TRUE(rig.view.text() == std::wstring(kCapacity, L'd'));
}

}  // namespace
}  // namespace hvt
