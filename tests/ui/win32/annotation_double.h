#pragma once

#include <windows.h>

#include <oleacc.h>

#include <map>
#include <string>

namespace hvt::test {

// The system's annotation service as far as the window uses it; every other call is refused. Remembers what
// windows are called. Lives as long as the test, whatever its counts say.
class AnnotationDouble final : private IAccPropServices {
 public:
  std::map<HWND, std::wstring> names;
  std::map<HWND, std::wstring> descriptions;
  IAccPropServices* service() { return this; }

 private:
  HRESULT WINAPI QueryInterface(REFIID, void** object) override {
    *object = service();
    return S_OK;
  }
  ULONG WINAPI AddRef() override { return 1; }
  ULONG WINAPI Release() override { return 1; }

  HRESULT WINAPI SetHwndPropStr(HWND window, DWORD, DWORD, MSAAPROPID property, LPCWSTR text) override {
    (IsEqualGUID(property, PROPID_ACC_NAME) ? names : descriptions)[window] = text;
    return S_OK;
  }
  HRESULT WINAPI ClearHwndProps(HWND window, DWORD, DWORD, const MSAAPROPID*, int) override {
    names.erase(window);
    descriptions.erase(window);
    return S_OK;
  }

  HRESULT WINAPI SetPropValue(const BYTE*, DWORD, MSAAPROPID, VARIANT) override { return E_NOTIMPL; }
  HRESULT WINAPI SetPropServer(const BYTE*, DWORD, const MSAAPROPID*, int, IAccPropServer*,
                               AnnoScope) override {
    return E_NOTIMPL;
  }
  HRESULT WINAPI ClearProps(const BYTE*, DWORD, const MSAAPROPID*, int) override { return E_NOTIMPL; }
  HRESULT WINAPI SetHwndProp(HWND, DWORD, DWORD, MSAAPROPID, VARIANT) override { return E_NOTIMPL; }
  HRESULT WINAPI SetHwndPropServer(HWND, DWORD, DWORD, const MSAAPROPID*, int, IAccPropServer*,
                                   AnnoScope) override {
    return E_NOTIMPL;
  }
  HRESULT WINAPI ComposeHwndIdentityString(HWND, DWORD, DWORD, BYTE**, DWORD*) override { return E_NOTIMPL; }
  HRESULT WINAPI DecomposeHwndIdentityString(const BYTE*, DWORD, HWND*, DWORD*, DWORD*) override {
    return E_NOTIMPL;
  }
  HRESULT WINAPI SetHmenuProp(HMENU, DWORD, MSAAPROPID, VARIANT) override { return E_NOTIMPL; }
  HRESULT WINAPI SetHmenuPropStr(HMENU, DWORD, MSAAPROPID, LPCWSTR) override { return E_NOTIMPL; }
  HRESULT WINAPI SetHmenuPropServer(HMENU, DWORD, const MSAAPROPID*, int, IAccPropServer*,
                                    AnnoScope) override {
    return E_NOTIMPL;
  }
  HRESULT WINAPI ClearHmenuProps(HMENU, DWORD, const MSAAPROPID*, int) override { return E_NOTIMPL; }
  HRESULT WINAPI ComposeHmenuIdentityString(HMENU, DWORD, BYTE**, DWORD*) override { return E_NOTIMPL; }
  HRESULT WINAPI DecomposeHmenuIdentityString(const BYTE*, DWORD, HMENU*, DWORD*) override {
    return E_NOTIMPL;
  }
};

// While it lives, this process finds the double in place of the system's service. Inside a COM apartment.
class AnnotationsSeen final : private IClassFactory {
 public:
  AnnotationsSeen() {
    CoRegisterClassObject(CLSID_AccPropServices, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                          &registration_);
  }
  ~AnnotationsSeen() { CoRevokeClassObject(registration_); }
  AnnotationsSeen(const AnnotationsSeen&) = delete;
  AnnotationsSeen& operator=(const AnnotationsSeen&) = delete;

  AnnotationDouble annotations;

 private:
  HRESULT WINAPI QueryInterface(REFIID, void** object) override {
    *object = static_cast<IClassFactory*>(this);
    return S_OK;
  }
  ULONG WINAPI AddRef() override { return 1; }
  ULONG WINAPI Release() override { return 1; }
  HRESULT WINAPI CreateInstance(IUnknown*, REFIID, void** object) override {
    *object = annotations.service();
    return S_OK;
  }
  HRESULT WINAPI LockServer(BOOL) override { return S_OK; }

  DWORD registration_ = 0;
};

}  // namespace hvt::test
