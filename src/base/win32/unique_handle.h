#pragma once

#include <windows.h>

#include <utility>

namespace hvt {

// The one owner of a kernel handle (file, event, thread).
//
// Promises  "no handle" is one state, whether the system said it with null or with INVALID_HANDLE_VALUE.
// Threads   like a plain value; the handle inside may be used by several.
// Owns      the handle.
// Ends      with CloseHandle in the destructor, in reset() or when another handle is moved in;
//           release() hands it to someone else.
class UniqueHandle {
 public:
  UniqueHandle() = default;
  explicit UniqueHandle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) {
      reset();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  ~UniqueHandle() { reset(); }

  explicit operator bool() const { return handle_ != nullptr; }
  HANDLE get() const { return handle_; }

  HANDLE release() { return std::exchange(handle_, nullptr); }
  void reset() {
    if (handle_ != nullptr) CloseHandle(std::exchange(handle_, nullptr));
  }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace hvt
