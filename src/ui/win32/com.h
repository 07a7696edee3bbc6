#pragma once

#include <windows.h>

#include <objbase.h>

#include <memory>

namespace hvt {

struct ReleaseInterface {
  void operator()(IUnknown* object) const { object->Release(); }
};
template <typename Interface>
using ComPointer = std::unique_ptr<Interface, ReleaseInterface>;

// This thread's COM apartment; one inside another is fine. A thread that was set up in another way already
// serves too.
class ComApartment {
 public:
  ComApartment() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE)) {}
  ~ComApartment() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;

  HRESULT result() const { return result_ == RPC_E_CHANGED_MODE ? S_OK : result_; }

 private:
  const HRESULT result_;
};

}  // namespace hvt
