#include "tools/recover/session_metadata.h"

#include <charconv>
#include <stdexcept>

#include "tools/recover/json_values.h"

namespace hvt::recover {
namespace {

using Kind = JsonValue::Kind;

class Reader {
 public:
  explicit Reader(std::string_view document) : values_(parse_json(document)) {}

  std::string string(std::string_view key) const { return find(key, Kind::string).text; }
  std::string string_or_null(std::string_view key) const {
    const auto found = values_.find(key);
    if (found != values_.end() && found->second.kind == Kind::word && found->second.text == "null") return {};
    return string(key);
  }
  bool flag(std::string_view key) const {
    const std::string& word = find(key, Kind::word).text;
    if (word == "null") wrong(key);
    return word == "true";
  }
  std::uint64_t number(std::string_view key) const {
    const std::string& digits = find(key, Kind::number).text;
    std::uint64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end) wrong(key);
    return value;
  }

 private:
  [[noreturn]] static void wrong(std::string_view key) {
    throw std::runtime_error("Not the metadata of a recording: \"" + std::string(key) +
                             "\" is missing or of the wrong kind.");
  }
  const JsonValue& find(std::string_view key, Kind kind) const {
    const auto found = values_.find(key);
    if (found == values_.end() || found->second.kind != kind) wrong(key);
    return found->second;
  }

  JsonValues values_;
};

}  // namespace

SessionMetadata parse_metadata(std::string_view document) {
  const Reader reader(document);
  if (reader.number("schema_version") != 1)
    throw std::runtime_error("The metadata has a newer format than this tool knows.");
  return {
      .finalized = reader.flag("finalized") && reader.string("state") == "stopped",
      .integrity = reader.string("integrity"),
      .stop_reason = reader.string_or_null("stop_reason"),
      .port = reader.string("serial.port"),
      .format = reader.string("serial.receive_format") == "HEX" ? ReceiveFormat::hex : ReceiveFormat::ascii,
      .session_base = reader.string("session_base"),
      .parts_created = reader.number("parts_created"),
      .raw_rx_delivered_bytes = reader.number("raw_rx_delivered_bytes"),
      .log_written_bytes = reader.number("log_written_bytes"),
      .comm_error_observations = reader.number("communication_errors.observations"),
      .receive_processing_error = reader.string_or_null("receive_processing_error"),
      .log_error = reader.string_or_null("log_error"),
      .metadata_error = reader.string_or_null("metadata_error"),
  };
}

}  // namespace hvt::recover
