#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "recording/local_time.h"
#include "recording/recording_config.h"

namespace hvt {

// How a session and its files are called. A session's base is its name, made unique in its folder.

// Nothing but spaces, tabs and line ends.
bool is_blank_name(std::wstring_view name);
// Every character that some file system refuses becomes "_".
std::wstring sanitised_name(std::wstring_view name);

// "20250301_091502_COM9_ASCII", for a session to which the user gave no name.
std::wstring automatic_name(const LocalTime& now, std::wstring_view prefix, ReceiveFormat format);

// The base at the given attempt, from 0 to kLastBaseAttempt: the name itself, then "_01" and so on behind it.
inline constexpr int kLastBaseAttempt = 999;
std::wstring session_base(std::wstring_view name, int attempt);

std::wstring metadata_name(std::wstring_view base);                    // "base.meta.json"
std::wstring part_name(std::wstring_view base, std::uint64_t number);  // "base_part001.log"

// Decimal, with zeros in front up to `width`.
std::string padded(std::uint64_t value, std::size_t width);

}  // namespace hvt
