#pragma once

#include <string>

namespace hvt {

// The system's message for an errno value as a sentence with a full stop: "Permission denied."
std::wstring errno_text(int code);

}  // namespace hvt
