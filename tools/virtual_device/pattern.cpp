#include "tools/virtual_device/pattern.h"

#include <algorithm>
#include <string_view>

namespace hvt::device {
namespace {

constexpr std::string_view kLead = "SEQ ";
constexpr std::size_t kDigits = 10;
constexpr std::uint64_t kTextNumbers = 10'000'000'000;  // then they begin again
constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+-";
static_assert(kAlphabet.size() == 64);

// So many records behind a fault must show where the stream goes on.
constexpr std::size_t kLookAhead = 4;

// A well-mixing bijection of 64 bits, so that neighbouring records have nothing in common.
std::uint64_t mix(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
  return value ^ (value >> 31);
}

void write_text(std::uint64_t number, std::span<std::uint8_t> record) {
  auto out = std::copy(kLead.begin(), kLead.end(), record.begin());
  std::uint64_t digits = number;
  for (std::size_t i = kDigits; i-- > 0; digits /= 10)
    out[static_cast<std::ptrdiff_t>(i)] = static_cast<std::uint8_t>('0' + digits % 10);
  out += kDigits;
  *out++ = ' ';
  const auto end = record.end() - 2;
  for (std::uint64_t word = 0; out != end; ++word) {
    std::uint64_t bits = mix(number * 8 + word);
    for (int i = 0; i < 10 && out != end; ++i, bits >>= 6)
      *out++ = static_cast<std::uint8_t>(kAlphabet[bits & 63]);
  }
  *out++ = '\r';
  *out = '\n';
}

// Each odd factor, sum and mask makes another order of all byte values; the whole number chooses them, so
// that a changed number does not fit the bytes behind it.
void write_binary(std::uint64_t number, std::span<std::uint8_t> record) {
  for (std::size_t i = 0; i < 8; ++i)
    record[i] = static_cast<std::uint8_t>(number >> (56 - 8 * i));
  const std::uint64_t order = mix(number);
  const auto factor = static_cast<std::uint32_t>(order & 0xFF) | 1;
  const auto sum = static_cast<std::uint32_t>(order >> 8 & 0xFF);
  const auto mask = static_cast<std::uint32_t>(order >> 16 & 0xFF);
  std::uint32_t value = sum;
  for (std::size_t i = 0; i < 256; ++i, value += factor)
    record[8 + i] = static_cast<std::uint8_t>(value ^ mask);
}

// The number that a record claims to have; whether it is that record is another question.
std::optional<std::uint64_t> claimed_number(PatternKind kind, std::span<const std::uint8_t> record) {
  std::uint64_t number = 0;
  if (kind == PatternKind::kBinary) {
    for (std::size_t i = 0; i < 8; ++i)
      number = number << 8 | record[i];
    return number;
  }
  if (!std::equal(kLead.begin(), kLead.end(), record.begin())) return {};
  for (const std::uint8_t digit : record.subspan(kLead.size(), kDigits)) {
    if (digit < '0' || digit > '9') return {};
    number = number * 10 + (digit - '0');
  }
  return number;
}

}  // namespace

void write_record(PatternKind kind, std::uint64_t number, std::span<std::uint8_t> record) {
  if (kind == PatternKind::kText)
    write_text(number % kTextNumbers, record);
  else
    write_binary(number, record);
}

std::vector<std::uint8_t> pattern(PatternKind kind, std::uint64_t first, std::size_t count) {
  const std::size_t size = record_bytes(kind);
  std::vector<std::uint8_t> bytes(count * size);
  for (std::size_t i = 0; i < count; ++i)
    write_record(kind, first + i, std::span(bytes).subspan(i * size, size));
  return bytes;
}

std::string describe(const PatternFault& fault) {
  const char* what = fault.kind == PatternFault::Kind::kLost       ? "bytes were lost"
                     : fault.kind == PatternFault::Kind::kRepeated ? "bytes came twice or out of order"
                                                                   : "bytes were changed";
  return std::string(what) + " at position " + std::to_string(fault.position) + ", in record " +
         std::to_string(fault.record);
}

PatternVerifier::PatternVerifier(PatternKind kind, Start start)
    : kind_(kind), size_(record_bytes(kind)), expected_(size_) {
  if (start == Start::kAtRecordZero) next_ = 0;
}

void PatternVerifier::feed(std::span<const std::uint8_t> bytes) {
  if (fault_) return;
  pending_.insert(pending_.end(), bytes.begin(), bytes.end());
  if (next_ || synchronise(false)) check(false);
}

void PatternVerifier::finish() {
  if (!fault_ && (next_ || synchronise(true))) check(true);
}

// Skips the rest of a record whose beginning was missed.
bool PatternVerifier::synchronise(bool at_end) {
  const auto found = find_record(0);
  if (found && found->offset < size_) {
    drop_front(found->offset);
    next_ = first_ = found->number;
    return true;
  }
  if (found || pending_.size() >= 2 * size_ || (at_end && pending_.size() >= size_))
    fault_ = PatternFault{PatternFault::Kind::kChanged, position_, 0};
  return false;
}

void PatternVerifier::check(bool at_end) {
  std::size_t at = 0;
  for (; at < pending_.size(); at += size_, ++*next_, ++records_) {
    const std::size_t length = std::min(size_, pending_.size() - at);
    write_record(kind_, *next_, expected_);
    const auto begin = pending_.begin() + static_cast<std::ptrdiff_t>(at);
    const bool right = std::equal(begin, begin + static_cast<std::ptrdiff_t>(length), expected_.begin());
    if (right && length == size_) continue;
    if (!right && (at_end || pending_.size() - at >= kLookAhead * size_)) return judge(at);
    break;
  }
  drop_front(at);
}

// Compares where the stream goes on with where it should: earlier means lost, later means repeated.
void PatternVerifier::judge(std::size_t record_at) {
  const auto wrong = std::mismatch(expected_.begin(), expected_.end(),
                                   pending_.begin() + static_cast<std::ptrdiff_t>(record_at), pending_.end());
  PatternFault fault;
  fault.record = *next_;
  fault.position = position_ + static_cast<std::uint64_t>(wrong.second - pending_.begin());
  if (const auto found = find_record(record_at)) {
    const auto ahead = static_cast<std::int64_t>((found->number - *next_) * size_);
    const auto offset = static_cast<std::int64_t>(found->offset - record_at);
    if (offset != ahead)
      fault.kind = offset < ahead ? PatternFault::Kind::kLost : PatternFault::Kind::kRepeated;
  }
  fault_ = fault;
}

std::optional<PatternVerifier::Found> PatternVerifier::find_record(std::size_t from) const {
  std::vector<std::uint8_t> record(size_);
  for (std::size_t at = from; at + size_ <= pending_.size(); ++at) {
    const auto candidate = std::span(pending_).subspan(at, size_);
    const auto number = claimed_number(kind_, candidate);
    if (!number) continue;
    write_record(kind_, *number, record);
    if (std::equal(record.begin(), record.end(), candidate.begin())) return Found{at, *number};
  }
  return {};
}

void PatternVerifier::drop_front(std::size_t count) {
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(count));
  position_ += count;
}

}  // namespace hvt::device
