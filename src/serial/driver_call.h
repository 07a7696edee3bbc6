#pragma once

#include <string>
#include <string_view>

namespace hvt {

inline constexpr std::wstring_view kUnexpectedDriverFailure = L"Unexpected serial driver failure.";

inline bool fail(std::wstring& error, std::wstring_view message) {
  error = message;
  return false;
}

// Calls a transport so that no exception of a driver passes, and a failure without a message gets
// `fallback`.
template <typename Call>
bool driver_call(std::wstring& error, std::wstring_view fallback, Call&& call) {
  error.clear();
  try {
    if (call()) return true;
  } catch (...) {
    return fail(error, kUnexpectedDriverFailure);
  }
  if (error.empty()) error = fallback;
  return false;
}

}  // namespace hvt
