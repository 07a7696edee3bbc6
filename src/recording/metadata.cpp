#include "recording/metadata.h"

#include <array>
#include <stdexcept>

#include "base/text.h"
#include "recording/names.h"
#include "serial/serial_status.h"

namespace hvt {
namespace {

constexpr std::array<std::string_view, 6> kStopReasons{
    "", "user_stop", "writer_failure", "queue_overflow", "queue_allocation_failure", "start_failed"};
constexpr std::array<std::string_view, 3> kIntegrity{"not_verified", "suspect", "incomplete"};
constexpr std::string_view kVerificationNote =
    "No reported driver error does not verify end-to-end byte completeness. A non-finalized session must be "
    "treated as unfinished.";

std::string to_utf8(std::wstring_view text) {
  try {
    return utf16_to_utf8(text);
  } catch (const std::runtime_error&) {
    throw std::runtime_error("Cannot encode recording metadata as UTF8.");
  }
}

void append_escaped(std::string& out, char byte) {
  constexpr std::string_view kShort = "\b\t\n\f\r\"\\";
  constexpr std::string_view kLetters = "btnfr\"\\";
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  const auto code = static_cast<std::uint8_t>(byte);
  if (const std::size_t found = kShort.find(byte); found != kShort.npos) {
    out += '\\';
    out += kLetters[found];
  } else if (code < 32) {
    out += "\\u00";
    out += kHexDigits[code >> 4];
    out += kHexDigits[code & 15];
  } else {
    out += byte;
  }
}

std::string json_string(std::string_view utf8) {
  std::string out = "\"";
  for (const char byte : utf8)
    append_escaped(out, byte);
  return out += '"';
}

std::string json_string(std::wstring_view text) {
  return json_string(to_utf8(text));
}

template <typename Text>
std::string json_string_or_null(const Text& text) {
  return text.empty() ? "null" : json_string(text);
}

std::string flag(bool value) {
  return value ? "true" : "false";
}

template <typename Number>
std::string number(Number value) {
  return std::to_string(value);
}

// Members in the order in which they are added, `between` them.
class Members {
 public:
  explicit Members(std::string_view between) : between_(between) {}

  Members& add(std::string_view key, std::string_view value) {
    if (!text_.empty()) text_ += between_;
    text_.append("\"").append(key).append("\": ").append(value);
    return *this;
  }
  const std::string& text() const { return text_; }

 private:
  std::string_view between_;
  std::string text_;
};

std::string on_one_line(const Members& members) {
  return "{" + members.text() + "}";
}

std::string serial_object(const SessionFacts& facts) {
  const SerialSettings& serial = facts.serial;
  Members members(", ");
  members.add("port", json_string(serial.port))
      .add("baud", number(serial.baud))
      .add("data_bits", number(serial.data_bits))
      .add("parity", number(serial.parity))
      .add("stop_bits", number(serial.stop_bits))
      .add("dtr", flag(serial.dtr))
      .add("rts", flag(serial.rts))
      .add("receive_format", json_string(facts.receive_format == ReceiveFormat::hex ? "HEX" : "ASCII"));
  return on_one_line(members);
}

std::string history_array(const std::vector<CommErrorReport>& history) {
  std::string entries;
  for (const CommErrorReport& report : history) {
    Members members(", ");
    members.add("utc", json_string(utc_text(report.time)))
        .add("mask", number(report.mask))
        .add("input_queued_bytes", number(report.input_queued_bytes));
    if (!entries.empty()) entries += ", ";
    entries += on_one_line(members);
  }
  return "[" + entries + "]";
}

std::string errors_object(const CommErrors& errors) {
  Members members(", ");
  members.add("observations", number(errors.observations))
      .add("mask", number(errors.mask))
      .add("rx_overflow_observations", number(errors.rx_overflow_observations))
      .add("overrun_observations", number(errors.overrun_observations))
      .add("parity_observations", number(errors.parity_observations))
      .add("frame_observations", number(errors.frame_observations))
      .add("break_observations", number(errors.break_observations))
      .add("omitted_history_entries", number(errors.omitted_history_entries))
      .add("history", history_array(errors.history));
  return on_one_line(members);
}

}  // namespace

std::string_view stop_reason_text(StopReason reason) {
  return kStopReasons[static_cast<std::size_t>(reason)];
}

void CommErrors::add(const CommErrorReport& report) {
  ++observations;
  mask |= report.mask;
  const auto count = [&](std::uint32_t bit, std::uint64_t& counter) {
    if (report.mask & bit) ++counter;
  };
  count(kCommRxOver, rx_overflow_observations);
  count(kCommOverrun, overrun_observations);
  count(kCommParity, parity_observations);
  count(kCommFrame, frame_observations);
  count(kCommBreak, break_observations);
  if (history.size() < kHistoryLimit) {
    history.push_back(report);
  } else {
    ++omitted_history_entries;
  }
}

std::string metadata_text(const SessionFacts& facts) {
  Members members(",\n  ");
  members.add("schema_version", "1")
      .add("state", json_string(facts.finalized ? "stopped" : "recording"))
      .add("finalized", flag(facts.finalized))
      .add("integrity", json_string(kIntegrity[static_cast<std::size_t>(facts.integrity)]))
      .add("verification_note", json_string(kVerificationNote))
      .add("started_utc", json_string(utc_text(facts.started)))
      .add("stopped_utc", facts.stopped ? json_string(utc_text(*facts.stopped)) : "null")
      .add("stop_reason", json_string_or_null(stop_reason_text(facts.stop_reason)))
      .add("serial", serial_object(facts))
      .add("session_base", json_string(facts.session_base))
      .add("parts_created", number(facts.parts_created))
      .add("last_log_file", json_string(facts.last_log_file))
      .add("raw_rx_delivered_bytes", number(facts.raw_rx_delivered_bytes))
      .add("log_written_bytes", number(facts.log_written_bytes))
      .add("communication_errors", errors_object(facts.communication_errors))
      .add("receive_processing_error", json_string_or_null(facts.receive_processing_error))
      .add("log_error", json_string_or_null(facts.log_error))
      .add("metadata_error", json_string_or_null(facts.metadata_error));
  return "{\n  " + members.text() + "\n}\n";
}

std::string utc_text(std::chrono::system_clock::time_point time) {
  using namespace std::chrono;
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(floor<milliseconds>(time - day));
  const auto digits = [](auto value, std::size_t width) {
    return padded(static_cast<std::uint64_t>(value), width);
  };
  return digits(static_cast<int>(date.year()), 4) + "-" + digits(static_cast<unsigned>(date.month()), 2) +
         "-" + digits(static_cast<unsigned>(date.day()), 2) + "T" + digits(clock.hours().count(), 2) + ":" +
         digits(clock.minutes().count(), 2) + ":" + digits(clock.seconds().count(), 2) + "." +
         digits(clock.subseconds().count(), 3) + "Z";
}

}  // namespace hvt
