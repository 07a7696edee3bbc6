#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace hvt::device {

// An endless stream of numbered records from which a receiver can prove that nothing was lost, doubled,
// reordered or changed. Text: "SEQ 0000000123 " and 47 characters that follow from the number, CR LF.
// Binary: the number in 8 bytes, most significant first, and every byte value once, in an order that follows
// from the number.
enum class PatternKind { kText, kBinary };

inline constexpr std::size_t kTextRecordBytes = 64;
inline constexpr std::size_t kBinaryRecordBytes = 264;
constexpr std::size_t record_bytes(PatternKind kind) {
  return kind == PatternKind::kText ? kTextRecordBytes : kBinaryRecordBytes;
}

// Writes one record into `record`, which has just its size.
void write_record(PatternKind kind, std::uint64_t number, std::span<std::uint8_t> record);
// `count` records from `first` on, one behind the other.
std::vector<std::uint8_t> pattern(PatternKind kind, std::uint64_t first, std::size_t count);

// Where a received stream first differs from the pattern.
struct PatternFault {
  enum class Kind {
    kLost,      // bytes are missing
    kRepeated,  // bytes came twice, too late or in addition
    kChanged,   // as many bytes as should be, but others, or too few bytes behind the fault to tell
  };
  Kind kind = Kind::kChanged;
  std::uint64_t position = 0;  // of the first wrong byte in the stream
  std::uint64_t record = 0;    // the number of the record in which it should have been right
};
std::string describe(const PatternFault& fault);

// Checks a stream as it comes in, in pieces of any size.
//
// Promises  tells the first fault once it has seen enough behind it to name its kind, or finish() was called.
// Threads   one.
// Owns      the tail that is no whole record yet.
// Ends      any time; finish() judges what is left.
class PatternVerifier {
 public:
  // kAnywhere accepts a stream that begins in the middle of a record, whatever its number.
  enum class Start { kAtRecordZero, kAnywhere };
  PatternVerifier(PatternKind kind, Start start);

  void feed(std::span<const std::uint8_t> bytes);
  void finish();

  const std::optional<PatternFault>& fault() const { return fault_; }
  std::uint64_t first_record() const { return first_; }
  std::uint64_t whole_records() const { return records_; }
  std::uint64_t bytes() const { return position_ + pending_.size(); }

 private:
  struct Found {
    std::size_t offset = 0;
    std::uint64_t number = 0;
  };
  bool synchronise(bool at_end);
  void check(bool at_end);
  void judge(std::size_t record_at);
  std::optional<Found> find_record(std::size_t from) const;
  void drop_front(std::size_t count);

  PatternKind kind_;
  std::size_t size_;
  std::vector<std::uint8_t> pending_;
  std::vector<std::uint8_t> expected_;
  std::uint64_t position_ = 0;  // of pending_ in the stream
  std::optional<std::uint64_t> next_;
  std::uint64_t first_ = 0;
  std::uint64_t records_ = 0;
  std::optional<PatternFault> fault_;
};

}  // namespace hvt::device
