#pragma once

#include <cstdint>
#include <string>

namespace hvt {

// The system's message for a Win32 error code, in the user's language and without its final line break, or
// "Windows error 1167" for a code the system has no message for.
std::wstring windows_error_text(std::uint32_t code);

}  // namespace hvt
