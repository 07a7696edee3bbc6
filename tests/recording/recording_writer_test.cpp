// Risk: a recording that loses bytes without saying so, or a disk that holds up the interface thread.

#include "recording/recording_writer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "recording/names.h"
#include "serial/serial_status.h"
#include "tests/recording/memory_disk.h"
#include "tests/support/error_of.h"
#include "tests/support/latch.h"
#include "tests/support/time_limit.h"
#include "tools/recover/session_metadata.h"

namespace {

// While it is set, arrays cannot be allocated on this thread.
thread_local bool no_memory = false;

}  // namespace

void* operator new[](std::size_t size) {
  void* const memory = no_memory ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace hvt {
namespace {

using recover::parse_metadata;
using recover::SessionMetadata;
using test::DiskOp;
using test::error_of;
using test::failed;
using test::Latch;
using test::MemoryDisk;
using test::TimeLimit;
using Fault = FileResult::Fault;

constexpr std::string_view kOverflow = "Recording buffer full. Recording stopped.";

bool is_part(const std::string& name) {
  return name.ends_with(".log");
}

// One session called "run" on a disk in memory. No flush is due by time unless the test asks for it.
struct Recording {
  MemoryDisk disk;
  RecordingConfig config;
  Latch ended{1};
  std::unique_ptr<RecordingWriter> writer;

  Recording() {
    config.directory = "folder";
    config.filename = L"run";
    config.flush_interval_ms = 3'600'000;
  }
  void start() {
    writer = std::make_unique<RecordingWriter>(
        config, [this] { ended.count_down(); }, disk.files());
  }
  bool enqueue(std::string_view text) { return writer->enqueue(text, text.size()); }
  void wait_for_end() {
    const TimeLimit limit("the end of the recording");
    ended.wait();
  }
  void finish() {
    writer->stop();
    wait_for_end();
  }
  SessionMetadata metadata() const { return parse_metadata(disk.content("run.meta.json")); }
  std::string text() const { return disk.parts("run"); }
};

// Fails one operation on the part files, from the given one on.
std::function<FileResult(DiskOp, const std::string&)> failing(DiskOp failing_op, FileResult result,
                                                              int good_ones = 0) {
  const auto left = std::make_shared<std::atomic<int>>(good_ones);
  return [=](DiskOp op, const std::string& name) {
    if (op != failing_op || !is_part(name) || (*left)-- > 0) return FileResult{};
    return result;
  };
}

// Holds the writer in its first write, which has the given end, until the test opens the gate.
class StalledDisk {
 public:
  explicit StalledDisk(MemoryDisk& disk, FileResult end = {}) {
    disk.fault = [this, end](DiskOp op, const std::string& name) -> FileResult {
      if (op != DiskOp::write || !is_part(name) || !first_.exchange(false)) return {};
      stalled_.count_down();
      gate_.wait();
      return end;
    };
  }
  void wait() {
    const TimeLimit limit("the first write");
    stalled_.wait();
  }
  void open_gate() { gate_.count_down(); }

 private:
  Latch stalled_{1};
  Latch gate_{1};
  std::atomic<bool> first_{true};
};

TEST(RecordingWriter, KeepsEveryByteInPartsOfTheRightSize) {
  std::mt19937 random(7);
  for (const std::uint64_t limit : {1, 9, 10, 11, 100, 65'536, 100'000, 10'000'000}) {
    SCOPED_TRACE(limit);
    Recording recording;
    recording.config.part_limit_bytes = limit;
    recording.config.flush_bytes = 1 + random() % 100'000;
    recording.start();
    std::string expected;
    const std::size_t most = limit > 100 ? 200'000 : 40;  // many parts mean many metadata files
    const int blocks = limit == 9 ? 0 : 40;               // nothing makes one empty part
    for (int block = 0; block < blocks; ++block) {
      std::string text(random() % most, '\0');
      for (char& byte : text)
        byte = static_cast<char>('0' + random() % 10);
      ASSERT_TRUE(recording.enqueue(text));
      expected += text;
    }
    recording.finish();
    EXPECT_TRUE(recording.text() == expected);
    const SessionMetadata said = recording.metadata();
    EXPECT_EQ(said.log_written_bytes, expected.size());
    EXPECT_EQ(said.raw_rx_delivered_bytes, expected.size());
    EXPECT_EQ(said.integrity, "not_verified");
    EXPECT_EQ(said.parts_created, std::max<std::uint64_t>(1, (expected.size() + limit - 1) / limit));
    for (std::uint64_t part = 1; part < said.parts_created; ++part)
      EXPECT_EQ(recording.disk.content("run_part" + padded(part, 3) + ".log").size(), limit) << part;
  }
}

TEST(RecordingWriter, PublishesTheMetadataAtEveryMoment) {
  Recording recording;
  recording.config.part_limit_bytes = 10;
  recording.start();
  recording.enqueue("1234567890abcdefghij.");
  recording.finish();
  const auto texts = recording.disk.published();
  ASSERT_EQ(texts.size(), 4u) << "begin, two parts, end";
  constexpr std::uint64_t kWritten[] = {0, 10, 20, 21};
  constexpr std::uint64_t kParts[] = {1, 2, 3, 3};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    SCOPED_TRACE(i);
    const SessionMetadata said = parse_metadata(texts[i]);
    const bool last = i == 3;
    EXPECT_EQ(said.finalized, last);
    EXPECT_EQ(said.stop_reason, last ? "user_stop" : "");
    EXPECT_EQ(texts[i].find("\"stopped_utc\": null") == std::string::npos, last);
    EXPECT_EQ(said.log_written_bytes, kWritten[i]);
    EXPECT_EQ(said.parts_created, kParts[i]);
    EXPECT_NE(texts[i].find("\"run_part00" + std::to_string(kParts[i]) + ".log\""), std::string::npos);
  }
}

TEST(RecordingWriter, FlushesAndPublishesInEachInterval) {
  Recording recording;
  recording.config.flush_interval_ms = 1;
  Latch published(20);
  std::atomic<int> flushes{0};
  std::atomic<int> flushes_before_last_publish{0};
  recording.disk.fault = [&](DiskOp op, const std::string&) {
    if (op == DiskOp::flush) ++flushes;
    if (op == DiskOp::replace && !published.try_wait()) {
      flushes_before_last_publish = flushes.load();
      published.count_down();
    }
    return FileResult{};
  };
  recording.start();
  {
    const TimeLimit limit("20 intervals");
    published.wait();
  }
  EXPECT_GE(flushes_before_last_publish, 19) << "the data goes before what is said about them";
  recording.finish();
}

TEST(RecordingWriter, FlushesWhenEnoughBytesWait) {
  for (const std::size_t size : {999u, 1000u}) {
    Recording recording;
    recording.config.flush_bytes = 1000;
    recording.start();
    recording.enqueue(std::string(size, 'x'));
    recording.finish();
    EXPECT_EQ(recording.disk.flushes(), size < 1000 ? 1 : 2) << "one is of the close; " << size;
  }
}

TEST(RecordingWriter, EndsWithTheRightReason) {
  struct Case {
    const char* name;
    std::function<FileResult(DiskOp, const std::string&)> fault;
    std::string says;
    std::string kept;  // of "1234567890abcde" with parts of 10 bytes
  };
  const auto system = [](std::uint32_t code) { return system_error_suffix(code); };
  const auto unexpected = [](DiskOp failing_op) {
    return [=](DiskOp op, const std::string& name) -> FileResult {
      if (op == failing_op && is_part(name)) throw 1;
      return {};
    };
  };
  const Case cases[] = {
      {"write", failing(DiskOp::write, failed(5)), "Cannot write recording file (errno 5).", ""},
      {"second write", failing(DiskOp::write, failed(5), 1), "Cannot write recording file (errno 5).",
       "1234567890"},
      {"flush", failing(DiskOp::flush, failed(28)), "Cannot flush recording file (errno 28).", "1234567890"},
      {"close", failing(DiskOp::close, failed(122)), "Cannot close recording file (errno 122).",
       "1234567890"},
      {"last close", failing(DiskOp::close, failed(122), 1), "Cannot close recording file (errno 122).",
       "1234567890abcde"},
      {"next part", failing(DiskOp::create, failed(13), 1), "Cannot create recording file " + system(13),
       "1234567890"},
      {"no descriptor", failing(DiskOp::create, {Fault::no_descriptor, 0}, 1),
       "Cannot allocate recording file descriptor.", "1234567890"},
      {"no stream", failing(DiskOp::create, {Fault::no_stream, 0}, 1), "Cannot allocate recording stream.",
       "1234567890"},
      {"next part exists", failing(DiskOp::create, {Fault::exists, 17}, 1),
       "The next recording part already exists; recording stopped to protect it.", "1234567890"},
      {"something unknown", unexpected(DiskOp::write), "Unexpected recording writer failure.", ""},
      {"something unknown at the end",
       [](DiskOp op, const std::string& name) -> FileResult {
         if (op == DiskOp::close && name == "run_part002.log") throw 1;
         return {};
       },
       "Unexpected recording close failure.", "1234567890abcde"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Recording recording;
    recording.config.part_limit_bytes = 10;
    recording.disk.fault = c.fault;
    recording.start();
    recording.enqueue("1234567890abcde");
    recording.finish();
    const SessionMetadata said = recording.metadata();
    EXPECT_EQ(said.log_error, c.says);
    EXPECT_EQ(said.stop_reason, "writer_failure");
    EXPECT_EQ(said.integrity, "incomplete");
    EXPECT_TRUE(said.finalized);
    EXPECT_EQ(said.log_written_bytes, c.kept.size());
    EXPECT_EQ(recording.text(), c.kept);
    EXPECT_FALSE(recording.enqueue("more"));
  }
}

TEST(RecordingWriter, EndsByItselfWhenTheDiskFails) {
  Recording recording;
  recording.disk.set_space(100'000);
  recording.start();
  recording.enqueue(std::string(150'000, 'x'));
  recording.wait_for_end();
  EXPECT_EQ(recording.writer->status().stop_reason, StopReason::writer_failure);
  EXPECT_EQ(recording.writer->status().log_error, L"Cannot write recording file (errno 28).");
  EXPECT_FALSE(recording.writer->status().accepting);
  EXPECT_TRUE(recording.metadata().finalized) << "room was kept for the last word";
  EXPECT_EQ(recording.metadata().log_error, "Cannot write recording file (errno 28).");
  EXPECT_EQ(recording.metadata().log_written_bytes, recording.text().size());
}

TEST(RecordingWriter, AFullQueueStopsTheRecordingAndKeepsWhatWasTaken) {
  Recording recording;
  recording.config.queue_capacity_bytes = 100'000;
  StalledDisk disk(recording.disk);
  recording.start();
  ASSERT_TRUE(recording.enqueue("first "));
  disk.wait();
  // The interface thread goes on while the disk stands.
  ASSERT_TRUE(recording.enqueue(std::string(60'000, 'a')));
  ASSERT_TRUE(recording.enqueue(std::string(40'000, 'b')));
  EXPECT_EQ(recording.writer->room(), 0u);
  EXPECT_TRUE(recording.enqueue(""));
  EXPECT_FALSE(recording.enqueue("c"));
  EXPECT_FALSE(recording.enqueue(""));
  EXPECT_FALSE(recording.writer->status().ended);
  EXPECT_EQ(recording.writer->status().stop_reason, StopReason::queue_overflow);
  disk.open_gate();
  recording.wait_for_end();
  EXPECT_TRUE(recording.text() == "first " + std::string(60'000, 'a') + std::string(40'000, 'b'));
  const SessionMetadata said = recording.metadata();
  EXPECT_EQ(said.stop_reason, "queue_overflow");
  EXPECT_EQ(said.integrity, "incomplete");
  EXPECT_EQ(said.log_error, kOverflow);
  EXPECT_TRUE(said.finalized);
  EXPECT_EQ(said.log_written_bytes, 100'006u);
  EXPECT_EQ(said.raw_rx_delivered_bytes, 100'007u) << "what did not fit was delivered";
}

TEST(RecordingWriter, NoMemoryForABlockStopsTheRecording) {
  Recording recording;
  StalledDisk disk(recording.disk);
  recording.start();
  ASSERT_TRUE(recording.enqueue("first "));
  disk.wait();
  ASSERT_TRUE(recording.enqueue("second "));
  no_memory = true;
  EXPECT_FALSE(recording.enqueue(std::string(ByteQueue::kChunkBytes, 'x')));
  no_memory = false;
  disk.open_gate();
  recording.wait_for_end();
  EXPECT_EQ(recording.text(), "first second ");
  EXPECT_EQ(recording.metadata().stop_reason, "queue_allocation_failure");
  EXPECT_EQ(recording.metadata().log_error, "Cannot allocate recording buffer.");
  EXPECT_EQ(recording.metadata().integrity, "incomplete");
}

TEST(RecordingWriter, TheFirstErrorWins) {
  Recording recording;
  recording.config.queue_capacity_bytes = 10;
  StalledDisk disk(recording.disk, failed(5));
  recording.start();
  recording.enqueue("1");
  disk.wait();
  EXPECT_FALSE(recording.enqueue("12345678901")) << "the queue overflows first";
  recording.writer->stop();
  disk.open_gate();
  recording.wait_for_end();
  EXPECT_EQ(recording.metadata().log_error, kOverflow);
  EXPECT_EQ(recording.metadata().stop_reason, "queue_overflow");
  EXPECT_EQ(recording.text(), "");
}

TEST(RecordingWriter, StartsOnlyWhenItsFilesAreThere) {
  struct Case {
    const char* name;
    DiskOp op;
    const char* file;
    FileResult result;
    std::string says;
  };
  const FileResult unknown = failed(0);  // it throws
  const Case cases[] = {
      {"folder", DiskOp::create_folders, "folder", failed(13),
       "Cannot create recording directory (errno 13)."},
      {"metadata", DiskOp::create, "run.meta.json", failed(30),
       "Cannot create recording metadata " + system_error_suffix(30)},
      {"first part", DiskOp::create, "run_part001.log", failed(24),
       "Cannot create recording file " + system_error_suffix(24)},
      {"first part exists", DiskOp::create, "run_part001.log", FileResult{Fault::exists, 17},
       "Cannot create recording file " + system_error_suffix(17)},
      {"something unknown", DiskOp::create, "run_part001.log", unknown,
       "Unexpected failure starting recording."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Recording recording;
    recording.disk.fault = [&](DiskOp op, const std::string& name) {
      if (op != c.op || name != c.file) return FileResult{};
      if (c.result.code == unknown.code) throw 1;
      return c.result;
    };
    EXPECT_EQ(error_of([&] { recording.start(); }), c.says);
    const bool is_about_a_part = is_part(c.file);
    EXPECT_EQ(recording.disk.has("run.meta.json"), is_about_a_part);
    if (!is_about_a_part) continue;
    EXPECT_EQ(recording.metadata().stop_reason, "start_failed");
    EXPECT_EQ(recording.metadata().log_error, c.says);
    EXPECT_EQ(recording.metadata().parts_created, 0u);
    EXPECT_TRUE(recording.metadata().finalized);
  }
}

TEST(RecordingWriter, ChoosesABaseThatIsNotInUse) {
  for (const bool metadata : {true, false}) {
    Recording recording;
    recording.config.filename = L"a:b?";
    recording.config.write_metadata = metadata;
    const std::string suffix = metadata ? ".meta.json" : "_part001.log";
    recording.disk.put("a_b_" + suffix, "old");
    recording.disk.put("a_b__01" + suffix, "old");
    recording.start();
    EXPECT_EQ(recording.writer->status().session_base, L"a_b__02");
    recording.enqueue("text");
    recording.finish();
    EXPECT_EQ(recording.disk.content("a_b__02_part001.log"), "text");
    EXPECT_EQ(recording.disk.has("a_b__02.meta.json"), metadata);
    EXPECT_EQ(recording.disk.content("a_b_" + suffix), "old");
  }
}

TEST(RecordingWriter, GivesUpAfter999Bases) {
  Recording recording;
  for (int attempt = 0; attempt <= 999; ++attempt) {
    const std::wstring base = session_base(L"run", attempt);
    recording.disk.put(std::string(base.begin(), base.end()) + ".meta.json", "old");
  }
  EXPECT_EQ(error_of([&] { recording.start(); }), "Cannot allocate a unique recording filename.");
}

TEST(RecordingWriter, AMetadataFailureIsKeptAndTheLogGoesOn) {
  Recording recording;
  recording.config.part_limit_bytes = 10;
  recording.disk.put("run.meta.json.pending", "someone's");
  recording.start();
  recording.enqueue("1234567890abc");
  recording.finish();
  EXPECT_EQ(recording.text(), "1234567890abc");
  EXPECT_EQ(recording.writer->status().metadata_error, L"Recording metadata temporary file already exists.");
  EXPECT_EQ(recording.writer->status().log_error, L"");
  EXPECT_EQ(recording.writer->status().stop_reason, StopReason::user_stop);
  EXPECT_FALSE(recording.metadata().finalized) << "the claim's text stands, as an unfinished session";
  EXPECT_EQ(recording.disk.content("run.meta.json.pending"), "someone's");
}

TEST(RecordingWriter, AMetadataFailureThatPassesIsToldInTheNextText) {
  Recording recording;
  bool first = true;
  recording.disk.fault = [&](DiskOp op, const std::string&) -> FileResult {
    if (op == DiskOp::replace && std::exchange(first, false)) throw 1;
    return {};
  };
  recording.start();
  recording.finish();
  EXPECT_EQ(recording.metadata().metadata_error, "Unexpected recording metadata failure.");
  EXPECT_TRUE(recording.metadata().finalized);
  EXPECT_EQ(recording.metadata().integrity, "not_verified");
}

TEST(RecordingWriter, TellsWhatTheLineAndTheProgramReported) {
  struct Case {
    const char* name;
    std::function<void(RecordingWriter&)> report;
    const char* integrity;
    std::string reception;
  };
  const Case cases[] = {
      {"nothing", [](RecordingWriter&) {}, "not_verified", ""},
      {"an error poll without an error", [](RecordingWriter& w) { w.add_comm_error(0, 5); }, "not_verified",
       ""},
      {"an overrun", [](RecordingWriter& w) { w.add_comm_error(kCommOverrun, 5); }, "suspect", ""},
      {"the end of the connection", [](RecordingWriter& w) { w.note_connection_end(L"disconnected"); },
       "not_verified", "disconnected"},
      {"only the first word counts",
       [](RecordingWriter& w) {
         w.note_connection_end(L"disconnected");
         w.note_connection_end(L"application_closed");
       },
       "not_verified", "disconnected"},
      {"lost bytes, then an overrun",
       [](RecordingWriter& w) {
         w.report_data_loss(L"7 bytes lost");
         w.add_comm_error(kCommOverrun, 5);
       },
       "incomplete", "7 bytes lost"},
      {"after the stop",
       [](RecordingWriter& w) {
         w.stop();
         w.add_comm_error(kCommOverrun, 5);
         w.note_connection_end(L"disconnected");
         w.report_data_loss(L"7 bytes lost");
       },
       "not_verified", ""},
      {"a text longer than 4096 units",
       [](RecordingWriter& w) { w.note_connection_end(std::wstring(4095, L'x') + L"\xD83D\xDE00 and more"); },
       "not_verified", std::string(4095, 'x')},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Recording recording;
    recording.start();
    c.report(*recording.writer);
    recording.finish();
    const SessionMetadata said = recording.metadata();
    EXPECT_EQ(said.integrity, c.integrity);
    EXPECT_EQ(said.receive_processing_error, c.reception);
    EXPECT_EQ(said.stop_reason, "user_stop");
    EXPECT_EQ(said.comm_error_observations, recording.writer->status().comm_error_observations);
  }
}

TEST(RecordingWriter, WritesWideTextAsUtf8) {
  Recording recording;
  recording.start();
  std::string bytes;
  for (std::size_t length = 0; length < 100; ++length) {  // around the steps of the fast path
    const std::wstring text(length, L'x');
    EXPECT_TRUE(recording.writer->enqueue(text + L"\xE9", 0));
    EXPECT_TRUE(recording.writer->enqueue(text + L"\xBC18\xBCF5 \xD83D\xDE00", 0));
    EXPECT_TRUE(recording.writer->enqueue(text, 0));
    const std::string same(length, 'x');
    bytes += same + "\xC3\xA9" + same + "\xEB\xB0\x98\xEB\xB3\xB5 \xF0\x9F\x98\x80" + same;
  }
  recording.finish();
  EXPECT_TRUE(recording.text() == bytes);
}

TEST(RecordingWriter, TextThatHasNoUtf8StopsTheRecording) {
  Recording recording;
  recording.start();
  EXPECT_TRUE(recording.enqueue("good"));
  EXPECT_FALSE(recording.writer->enqueue(std::wstring(40, L'x') + L"\xD800", 41));
  recording.wait_for_end();
  EXPECT_EQ(recording.metadata().integrity, "incomplete");
  EXPECT_EQ(recording.text(), "good");
}

TEST(RecordingWriter, ReportsAndStopsFromOtherThreadsWhileItRecords) {
  for (int round = 0; round < 20; ++round) {
    Recording recording;
    recording.config.flush_interval_ms = 1;
    recording.config.part_limit_bytes = 1000;
    recording.start();
    std::thread line([&] {
      for (int i = 0; i < 300; ++i)
        recording.writer->add_comm_error(kCommFrame, 1);
    });
    std::thread stopper([&] {
      while (recording.writer->status().log_written_bytes < 500)
        std::this_thread::yield();
      recording.writer->stop();
    });
    std::string taken;
    for (std::string block; block = std::to_string(taken.size()) + ' ', recording.enqueue(block);)
      taken += block;
    line.join();
    stopper.join();
    recording.wait_for_end();
    ASSERT_TRUE(recording.text() == taken);
    EXPECT_EQ(recording.metadata().log_written_bytes, taken.size());
  }
}

TEST(RecordingWriter, DrainsWhatItTookWhenItIsDestroyed) {
  Recording recording;
  recording.start();
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    const std::string block = std::to_string(i);
    recording.enqueue(block);
    expected += block;
  }
  recording.writer.reset();
  EXPECT_EQ(recording.text(), expected);
  EXPECT_EQ(recording.metadata().stop_reason, "user_stop");
}

}  // namespace
}  // namespace hvt
