#include "ui/win32/accessible_names.h"

#include <array>
#include <string>

namespace hvt {
namespace {

constexpr DWORD kSelf = CHILDID_SELF;
constexpr DWORD kClient = static_cast<DWORD>(OBJID_CLIENT);

}  // namespace

// Without the service the names are missing and everything else works.
IAccPropServices* AccessibleNames::services() {
  if (!services_) {
    void* service = nullptr;
    if (SUCCEEDED(CoCreateInstance(CLSID_AccPropServices, nullptr, CLSCTX_INPROC_SERVER, IID_IAccPropServices,
                                   &service)))
      services_.reset(static_cast<IAccPropServices*>(service));
  }
  return services_.get();
}

void AccessibleNames::set(HWND control, std::wstring_view name, std::wstring_view description) {
  IAccPropServices* const service = services();
  if (service == nullptr) return;
  const auto set_one = [&](MSAAPROPID property, std::wstring_view text) {
    if (!text.empty()) service->SetHwndPropStr(control, kClient, kSelf, property, std::wstring{text}.c_str());
  };
  set_one(PROPID_ACC_NAME, name);
  set_one(PROPID_ACC_DESCRIPTION, description);
}

void AccessibleNames::forget(HWND control) {
  if (!services_) return;
  std::array<MSAAPROPID, 2> properties{PROPID_ACC_NAME, PROPID_ACC_DESCRIPTION};
  services_->ClearHwndProps(control, kClient, kSelf, properties.data(), static_cast<int>(properties.size()));
}

}  // namespace hvt
