// Risk: other programs read this file by its exact form; a text that is no JSON tells them nothing.

#include "recording/metadata.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "base/text.h"
#include "recording/metadata_file.h"
#include "serial/serial_status.h"
#include "tests/recording/memory_disk.h"
#include "tests/support/error_of.h"
#include "tools/recover/json_values.h"

namespace hvt {
namespace {

using std::chrono::milliseconds;
using test::DiskOp;
using test::failed;
using test::MemoryDisk;

// 2025-03-01T09:15:02.041Z
const std::chrono::system_clock::time_point kStart{milliseconds(1'740'820'502'041)};

SessionFacts running() {
  SessionFacts facts;
  facts.started = kStart;
  facts.serial = {.port = L"COM9"};
  facts.session_base = L"run";
  facts.parts_created = 1;
  facts.last_log_file = L"run_part001.log";
  return facts;
}

TEST(Metadata, OfARunningSession) {
  EXPECT_EQ(metadata_text(running()), R"({
  "schema_version": 1,
  "state": "recording",
  "finalized": false,
  "integrity": "not_verified",
  "verification_note": "No reported driver error does not verify end-to-end byte completeness. A non-finalized session must be treated as unfinished.",
  "started_utc": "2025-03-01T09:15:02.041Z",
  "stopped_utc": null,
  "stop_reason": null,
  "serial": {"port": "COM9", "baud": 115200, "data_bits": 8, "parity": 0, "stop_bits": 0, "dtr": true, "rts": true, "receive_format": "ASCII"},
  "session_base": "run",
  "parts_created": 1,
  "last_log_file": "run_part001.log",
  "raw_rx_delivered_bytes": 0,
  "log_written_bytes": 0,
  "communication_errors": {"observations": 0, "mask": 0, "rx_overflow_observations": 0, "overrun_observations": 0, "parity_observations": 0, "frame_observations": 0, "break_observations": 0, "omitted_history_entries": 0, "history": []},
  "receive_processing_error": null,
  "log_error": null,
  "metadata_error": null
}
)");
}

TEST(Metadata, OfASessionThatOverflowedOnANoisyLine) {
  SessionFacts facts = running();
  facts.finalized = true;
  facts.integrity = Integrity::incomplete;
  facts.stopped = kStart + milliseconds(3'600'000);
  facts.stop_reason = StopReason::queue_overflow;
  facts.serial = {L"한글", 4'000'000, 7, kParitySpace, kStopBitsTwo, false, false};
  facts.receive_format = ReceiveFormat::hex;
  facts.parts_created = 1000;
  facts.last_log_file = L"run_part1000.log";
  facts.raw_rx_delivered_bytes = 18'446'744'073'709'551'615u;
  facts.log_written_bytes = 268'435'456'000;
  facts.communication_errors.add({kStart, kCommOverrun | kCommBreak, 4096});
  facts.communication_errors.add({kStart + milliseconds(1), kCommOverrun, 0});
  facts.receive_processing_error = L"disconnected";
  facts.log_error = L"Recording buffer full. Recording stopped.";
  facts.metadata_error = L"Cannot write recording metadata.";
  EXPECT_EQ(
      metadata_text(facts),
      R"({
  "schema_version": 1,
  "state": "stopped",
  "finalized": true,
  "integrity": "incomplete",
  "verification_note": "No reported driver error does not verify end-to-end byte completeness. A non-finalized session must be treated as unfinished.",
  "started_utc": "2025-03-01T09:15:02.041Z",
  "stopped_utc": "2025-03-01T10:15:02.041Z",
  "stop_reason": "queue_overflow",
  "serial": {"port": ")"
      "\xED\x95\x9C\xEA\xB8\x80"
      R"(", "baud": 4000000, "data_bits": 7, "parity": 4, "stop_bits": 2, "dtr": false, "rts": false, "receive_format": "HEX"},
  "session_base": "run",
  "parts_created": 1000,
  "last_log_file": "run_part1000.log",
  "raw_rx_delivered_bytes": 18446744073709551615,
  "log_written_bytes": 268435456000,
  "communication_errors": {"observations": 2, "mask": 18, "rx_overflow_observations": 0, "overrun_observations": 2, "parity_observations": 0, "frame_observations": 0, "break_observations": 1, "omitted_history_entries": 0, "history": [{"utc": "2025-03-01T09:15:02.041Z", "mask": 18, "input_queued_bytes": 4096}, {"utc": "2025-03-01T09:15:02.042Z", "mask": 2, "input_queued_bytes": 0}]},
  "receive_processing_error": "disconnected",
  "log_error": "Recording buffer full. Recording stopped.",
  "metadata_error": "Cannot write recording metadata."
}
)");
}

TEST(Metadata, EscapesEveryTextSoThatAReaderGetsItBack) {
  std::wstring text = L"\"\\/\x7F é \xD83D\xDE00";
  for (wchar_t unit = 0; unit < 32; ++unit)
    text += unit;
  SessionFacts facts = running();
  facts.serial.port = facts.session_base = facts.log_error = text;
  const std::string json = metadata_text(facts);
  const auto values = recover::parse_json(json);
  for (const char* key : {"serial.port", "session_base", "log_error"})
    EXPECT_EQ(utf8_to_utf16(values.at(key).text), text) << key;
  EXPECT_NE(json.find("\\\"\\\\/\x7F"), json.npos) << "quote and backslash, and nothing else";
  EXPECT_NE(
      json.find("\\u0000\\u0001\\u0002\\u0003\\u0004\\u0005\\u0006\\u0007\\b\\t\\n\\u000b\\f\\r\\u000e"),
      json.npos);
  EXPECT_NE(json.find("\\u001f"), json.npos);
}

TEST(Metadata, RefusesATextThatHasNoUtf8) {
  SessionFacts facts = running();
  facts.serial.port = L"COM\xD800";
  EXPECT_EQ(test::error_of([&] { metadata_text(facts); }), "Cannot encode recording metadata as UTF8.");
}

TEST(Metadata, KeepsTheFirst256ErrorReportsAndCountsTheRest) {
  CommErrors errors;
  for (std::uint32_t i = 0; i < 300; ++i)
    errors.add({kStart, i % 2 == 0 ? kCommFrame : kCommParity | kCommRxOver, i});
  EXPECT_EQ(errors.observations, 300u);
  EXPECT_EQ(errors.history.size(), 256u);
  EXPECT_EQ(errors.history.back().input_queued_bytes, 255u);
  EXPECT_EQ(errors.omitted_history_entries, 44u);
  EXPECT_EQ(errors.frame_observations, 150u);
  EXPECT_EQ(errors.parity_observations, 150u);
  EXPECT_EQ(errors.rx_overflow_observations, 150u);
  EXPECT_EQ(errors.mask, kCommFrame | kCommParity | kCommRxOver);
}

TEST(Metadata, TimesAreFilledWithZeros) {
  EXPECT_EQ(utc_text(std::chrono::system_clock::time_point{}), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(utc_text(std::chrono::system_clock::time_point{milliseconds(1'709'251'199'999)}),
            "2024-02-29T23:59:59.999Z");
}

// The file

std::string publish_error(MemoryDisk& disk) {
  const auto files = disk.files();
  return test::error_of([&] { MetadataFile(*files, "run.meta.json").publish("new"); });
}

TEST(MetadataFile, SaysWhyItCouldNotBePublishedAndLeavesTheOldText) {
  using Fault = FileResult::Fault;
  struct Case {
    const char* name;
    DiskOp op;
    FileResult result;
    std::string says;
    int waits;
  };
  const Case cases[] = {
      {"folder removed", DiskOp::create, failed(2),
       "Cannot create recording metadata " + system_error_suffix(2), 0},
      {"disk full", DiskOp::write, failed(28), "Cannot write recording metadata.", 0},
      {"not closed", DiskOp::close, failed(5), "Cannot close recording metadata.", 0},
      {"not moved", DiskOp::replace, failed(5), "Cannot publish recording metadata " + system_error_suffix(5),
       0},
      {"held for ever", DiskOp::replace, FileResult{Fault::held, 32},
       "Cannot publish recording metadata " + system_error_suffix(32), 19},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MemoryDisk disk;
    disk.put("run.meta.json", "old");
    disk.fault = [&](DiskOp op, const std::string&) { return op == c.op ? c.result : FileResult{}; };
    EXPECT_EQ(publish_error(disk), c.says);
    EXPECT_EQ(disk.content("run.meta.json"), "old");
    EXPECT_EQ(disk.names().size(), 1u) << "the temporary file of the attempt is gone";
    EXPECT_EQ(disk.waits(), c.waits);
    disk.fault = nullptr;
    EXPECT_EQ(publish_error(disk), "no error") << "the next attempt is not hindered";
  }
}

TEST(MetadataFile, WaitsForAReaderToLetGo) {
  MemoryDisk disk;
  int attempts = 0;
  disk.fault = [&](DiskOp op, const std::string&) -> FileResult {
    if (op != DiskOp::replace || ++attempts == MetadataFile::kMoveAttempts) return {};
    return {FileResult::Fault::held, 5};
  };
  EXPECT_EQ(publish_error(disk), "no error");
  EXPECT_EQ(disk.content("run.meta.json"), "new");
  EXPECT_EQ(disk.waits(), MetadataFile::kMoveAttempts - 1);
}

TEST(MetadataFile, IsClaimedWithItsFirstTextOrLeftAlone) {
  MemoryDisk disk;
  const auto files = disk.files();
  EXPECT_TRUE(MetadataFile(*files, "a.meta.json").claim("mine"));
  EXPECT_FALSE(MetadataFile(*files, "a.meta.json").claim("yours"));
  EXPECT_EQ(disk.content("a.meta.json"), "mine");

  disk.set_space(3);
  EXPECT_EQ(test::error_of([&] { MetadataFile(*files, "b.meta.json").claim("mine"); }),
            "Cannot write recording metadata.");
  EXPECT_FALSE(disk.has("b.meta.json")) << "no broken file stays";
}

}  // namespace
}  // namespace hvt
