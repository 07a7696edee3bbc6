#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace hvt {

// What every transport over a real device has in common.
inline constexpr std::size_t kReadBufferBytes = 65'536;       // most bytes of one read()
inline constexpr std::size_t kDriverQueueBytes = 65'536;      // asked of the driver, each direction
inline constexpr std::chrono::milliseconds kIdleReturn{50};   // a silent read() ends, to ask for errors
inline constexpr std::chrono::milliseconds kWriteLimit{500};  // one deadline for all chunks of a write()

inline constexpr std::wstring_view kWriteTimedOut = L"Serial write exceeded 500 ms.";
inline constexpr std::wstring_view kWriteStuck = L"Serial write did not make progress.";
inline constexpr std::wstring_view kConnectionClosed = L"Serial connection closed.";

}  // namespace hvt
