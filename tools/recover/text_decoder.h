#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "recording/recording_config.h"

namespace hvt::recover {

// Whether lines that begin with "[RX] ", "[TX] " and so on are the program's or the device's.
enum class LineMarks { labels, data };

// Turns the text of a recording back into the received bytes, in pieces of any size.
//
// Promises  tokens, hex pairs and, with LineMarks::labels, labels, sent packets and status lines are read as
//           the program writes them; line breaks are layout. What the text does not tell is not guessed: CR
//           and LF that were hidden are missing, and a device that sent the four characters "<LF>" looks like
//           one that sent a line feed. Both show in the number of bytes.
// Threads   one.
// Owns      the tail that is not decoded yet.
// Ends      with finish(), which decodes the rest.
class TextDecoder {
 public:
  using Sink = std::function<void(std::span<const std::uint8_t>)>;
  TextDecoder(ReceiveFormat format, LineMarks marks, Sink sink);

  void feed(std::string_view text);
  void finish();

  std::uint64_t raw_bytes() const { return raw_bytes_; }
  std::uint64_t line_breaks() const { return line_breaks_; }
  std::uint64_t line_end_tokens() const { return line_end_tokens_; }  // CR and LF that are in the text
  // Where the text first is not what a recording in this format can hold.
  const std::optional<std::uint64_t>& first_fault() const { return first_fault_; }

 private:
  enum class Line { received, sent, status };

  void decode(bool at_end);
  std::size_t start_line(std::string_view text);
  std::size_t step(std::string_view text);
  std::size_t ascii_step(std::string_view text);
  std::size_t hex_step(std::string_view text);
  std::size_t fault();
  void emit(std::uint8_t byte);

  const ReceiveFormat format_;
  const LineMarks marks_;
  const Sink sink_;
  std::string pending_;
  std::uint64_t decoded_ = 0;  // bytes of text in front of pending_
  std::size_t at_ = 0;         // in pending_
  bool line_start_ = true;
  Line line_ = Line::received;
  std::vector<std::uint8_t> out_;
  std::uint64_t raw_bytes_ = 0;
  std::uint64_t line_breaks_ = 0;
  std::uint64_t line_end_tokens_ = 0;
  std::optional<std::uint64_t> first_fault_;
};

}  // namespace hvt::recover
