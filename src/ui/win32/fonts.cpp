#include "ui/win32/fonts.h"

#include <cwchar>

namespace hvt {
namespace {

constexpr int kPointsPerInch = 72;

UniqueGdiObject make_font(const wchar_t* face, LONG weight, int points, int dpi, BYTE pitch) {
  LOGFONTW description{};
  description.lfHeight = -MulDiv(points, dpi, kPointsPerInch);
  description.lfWeight = weight;
  description.lfCharSet = DEFAULT_CHARSET;
  description.lfQuality = CLEARTYPE_QUALITY;
  description.lfPitchAndFamily = pitch;
  std::wcsncpy(description.lfFaceName, face, LF_FACESIZE - 1);
  return UniqueGdiObject{CreateFontIndirectW(&description)};
}

// A screen device context with a font selected.
class MeasuringContext {
 public:
  explicit MeasuringContext(HFONT font) : dc_(GetDC(nullptr)), previous_(SelectObject(dc_, font)) {}
  ~MeasuringContext() {
    SelectObject(dc_, previous_);
    ReleaseDC(nullptr, dc_);
  }
  MeasuringContext(const MeasuringContext&) = delete;
  MeasuringContext& operator=(const MeasuringContext&) = delete;

  HDC get() const { return dc_; }

 private:
  HDC dc_;
  HGDIOBJ previous_;
};

}  // namespace

// The weight counts where the semibold face is missing and another one stands in.
Fonts::Fonts(int dpi)
    : dpi_(dpi),
      interface_(make_font(kInterfaceFace, FW_NORMAL, kInterfacePoints, dpi, VARIABLE_PITCH | FF_SWISS)),
      title_(make_font(kTitleFace, FW_SEMIBOLD, kInterfacePoints, dpi, VARIABLE_PITCH | FF_SWISS)),
      fixed_(make_font(kFixedFace, FW_NORMAL, kFixedPoints, dpi, FIXED_PITCH | FF_MODERN)) {}

HFONT Fonts::of(const ControlRow& row) const {
  if (heads_group(row)) return static_cast<HFONT>(title_.get());
  switch (row.kind) {
    case ControlKind::packet_edit:
    case ControlKind::receive_view: return fixed_font();
    default: return interface_font();
  }
}

HFONT font_of(HWND window) {
  return reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0));
}

int font_height(HFONT font) {
  const MeasuringContext context{font};
  TEXTMETRICW metrics{};
  GetTextMetricsW(context.get(), &metrics);
  return metrics.tmHeight;
}

int text_width(HFONT font, std::wstring_view text) {
  const MeasuringContext context{font};
  SIZE size{};
  GetTextExtentPoint32W(context.get(), text.data(), static_cast<int>(text.size()), &size);
  return size.cx;
}

}  // namespace hvt
