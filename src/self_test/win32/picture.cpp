#include "self_test/win32/picture.h"

#include <objbase.h>
#include <wincodec.h>

#include <memory>

#include "base/win32/wine.h"
#include "ui/win32/fonts.h"

namespace hvt::self_test {
namespace {

template <typename Interface>
struct Release {
  void operator()(Interface* object) const { object->Release(); }
};
template <typename Interface>
using ComPointer = std::unique_ptr<Interface, Release<Interface>>;

class ComApartment {
 public:
  ComApartment() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  ~ComApartment() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;

 private:
  const HRESULT result_;
};

class MemoryDc {
 public:
  explicit MemoryDc(HDC like) : dc_(CreateCompatibleDC(like)) {}
  ~MemoryDc() { DeleteDC(dc_); }
  MemoryDc(const MemoryDc&) = delete;
  MemoryDc& operator=(const MemoryDc&) = delete;
  HDC get() const { return dc_; }

 private:
  HDC dc_;
};

class WindowDc {
 public:
  explicit WindowDc(HWND window)
      : window_(window), dc_(GetDCEx(window, nullptr, DCX_WINDOW | DCX_CACHE | DCX_LOCKWINDOWUPDATE)) {}
  ~WindowDc() { ReleaseDC(window_, dc_); }
  WindowDc(const WindowDc&) = delete;
  WindowDc& operator=(const WindowDc&) = delete;
  HDC get() const { return dc_; }

 private:
  HWND window_;
  HDC dc_;
};

SIZE size_of(HWND window) {
  RECT rect{};
  GetWindowRect(window, &rect);
  return {rect.right - rect.left, rect.bottom - rect.top};
}

// Nobody composes the windows of a desktop that no screen shows, so each one is asked to paint itself. Wine's
// windows do not paint their children when asked, but keep what they have painted.
void draw_window(HWND window, HDC target) {
  if (!runs_on_wine()) {
    PrintWindow(window, target, 0);
    return;
  }
  const SIZE size = size_of(window);
  const WindowDc source(window);
  BitBlt(target, 0, 0, size.cx, size.cy, source.get(), 0, 0, SRCCOPY);
}

void draw_in_front(HWND window, HWND base, HDC target) {
  RECT place{};
  GetWindowRect(window, &place);
  RECT origin{};
  GetWindowRect(base, &origin);
  const SIZE size = size_of(window);
  const MemoryDc own(target);
  const UniqueGdiObject bitmap{CreateCompatibleBitmap(target, size.cx, size.cy)};
  const HGDIOBJ before = SelectObject(own.get(), bitmap.get());
  draw_window(window, own.get());
  BitBlt(target, place.left - origin.left, place.top - origin.top, size.cx, size.cy, own.get(), 0, 0,
         SRCCOPY);
  SelectObject(own.get(), before);
}

UniqueGdiObject draw_all(std::span<const HWND> windows) {
  const HWND base = windows.front();
  const SIZE size = size_of(base);
  const WindowDc like(base);
  UniqueGdiObject bitmap{CreateCompatibleBitmap(like.get(), size.cx, size.cy)};
  const MemoryDc target(like.get());
  const HGDIOBJ before = SelectObject(target.get(), bitmap.get());
  draw_window(base, target.get());
  for (const HWND window : windows.subspan(1))
    draw_in_front(window, base, target.get());
  SelectObject(target.get(), before);
  return bitmap;
}

bool encode(IWICImagingFactory& factory, IWICBitmapSource& picture, const std::filesystem::path& file) {
  IWICStream* raw_stream = nullptr;
  if (FAILED(factory.CreateStream(&raw_stream))) return false;
  const ComPointer<IWICStream> stream(raw_stream);
  if (FAILED(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE))) return false;
  IWICBitmapEncoder* raw_encoder = nullptr;
  if (FAILED(factory.CreateEncoder(GUID_ContainerFormatPng, nullptr, &raw_encoder))) return false;
  const ComPointer<IWICBitmapEncoder> encoder(raw_encoder);
  if (FAILED(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache))) return false;
  IWICBitmapFrameEncode* raw_frame = nullptr;
  if (FAILED(encoder->CreateNewFrame(&raw_frame, nullptr))) return false;
  const ComPointer<IWICBitmapFrameEncode> frame(raw_frame);
  return SUCCEEDED(frame->Initialize(nullptr)) && SUCCEEDED(frame->WriteSource(&picture, nullptr)) &&
         SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
}

}  // namespace

bool save_picture(std::span<const HWND> windows, const std::filesystem::path& file) {
  const ComApartment apartment;
  void* created = nullptr;
  if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                              &created)))
    return false;
  const ComPointer<IWICImagingFactory> factory(static_cast<IWICImagingFactory*>(created));
  const UniqueGdiObject bitmap = draw_all(windows);
  IWICBitmap* picture = nullptr;
  if (FAILED(factory->CreateBitmapFromHBITMAP(static_cast<HBITMAP>(bitmap.get()), nullptr,
                                              WICBitmapIgnoreAlpha, &picture)))
    return false;
  const ComPointer<IWICBitmap> owner(picture);
  return encode(*factory, *picture, file);
}

}  // namespace hvt::self_test
