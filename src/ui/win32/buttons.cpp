#include "ui/win32/buttons.h"

#include <commctrl.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "ui/win32/native_controls.h"
#include "ui/win32/painted.h"

namespace hvt {
namespace {

constexpr UINT_PTR kSubclass = 1;
constexpr UINT kCaptionFormat = DT_SINGLELINE | DT_VCENTER | DT_HIDEPREFIX | DT_END_ELLIPSIS;

// Logical pixels.
constexpr int kRadius = 4;
constexpr int kMarkSize = 15;
constexpr int kMarkGap = 5;
constexpr int kEntryMark = 26;  // left of an entry's text
constexpr int kEntryEnd = 18;   // right of it
constexpr int kDot = 8;
constexpr int kDotGap = 7;

struct Button {
  Painted painted;
  ButtonLook kind;
};

// A button at the moment it is painted.
struct View {
  HWND window;
  const Button& button;
  const Look& look;
  Canvas& canvas;
  RECT client;
  bool enabled;
  bool pushed;
  bool checked;
  bool focused;
  double unit;  // device pixels of a logical one

  COLORREF ground() const { return look[button.painted.ground]; }
  bool hovered() const { return button.painted.hovered && enabled; }
};

struct FaceColors {
  COLORREF inside;
  COLORREF edge;
  COLORREF text;
};

// Dark hovers stay dark, so that their text can be read.
constexpr int kDarkHover = 35;
constexpr int kLightPress = 25;
constexpr int kPrimaryHover = 14;
constexpr int kDisabledFace = 50;

COLORREF face_color(const View& view) {
  const Look& look = view.look;
  const COLORREF rest = look[ThemeColor::button];
  if (!view.enabled) return mixed(view.ground(), rest, kDisabledFace);
  if (view.pushed)
    return look.dark() ? look[ThemeColor::pressed] : mixed(rest, look[ThemeColor::pressed], kLightPress);
  if (view.hovered()) return mixed(rest, look[ThemeColor::hovered_button], look.dark() ? kDarkHover : 100);
  // The light face is that of the window: a little brighter it stands out.
  return look.dark() ? rest : mixed(rest, look[ThemeColor::field], 70);
}

FaceColors push_colors(const View& view) {
  const Look& look = view.look;
  const COLORREF inside = face_color(view);
  const COLORREF rest = mixed(view.ground(), look[ThemeColor::border], look.dark() ? 45 : 100);
  if (!view.enabled)
    return {inside, mixed(view.ground(), rest, kDisabledFace), look[ThemeColor::disabled_text]};
  return {inside, view.hovered() ? legible(look[ThemeColor::accent], view.ground()) : rest,
          look.text_on(inside)};
}

FaceColors primary_colors(const View& view) {
  if (!view.enabled) return push_colors(view);
  const Look& look = view.look;
  const COLORREF rest = look.filled(ThemeColor::primary_button);
  COLORREF inside = rest;
  if (view.hovered()) inside = mixed(rest, RGB(0, 0, 0), kPrimaryHover);
  if (view.pushed) inside = mixed(rest, RGB(0, 0, 0), 2 * kPrimaryHover);
  return {inside, inside, look[ThemeColor::selection_text]};
}

FaceColors badge_colors(const View& view) {
  const Look& look = view.look;
  const COLORREF rest = look[ThemeColor::badge];
  const COLORREF inside = view.hovered() || view.pushed ? mixed(rest, look[ThemeColor::text], 15) : rest;
  return {inside, mixed(inside, look[ThemeColor::text], 25), look.text_on(inside)};
}

FaceColors flat_colors(const View& view) {
  const Look& look = view.look;
  const COLORREF ground = view.ground();
  const COLORREF raised = look.dark() ? look[ThemeColor::field] : look[ThemeColor::header];
  const COLORREF inside = view.pushed || view.hovered() ? raised : ground;
  return {inside, inside, view.enabled ? look.text_on(inside) : look[ThemeColor::disabled_text]};
}

FaceColors face_colors(const View& view) {
  switch (view.button.kind) {
    case ButtonLook::primary: return primary_colors(view);
    case ButtonLook::badge: return badge_colors(view);
    case ButtonLook::flat: return flat_colors(view);
    default: return push_colors(view);
  }
}

void paint_focus(const View& view, RECT area, double radius) {
  if (!view.focused) return;
  const double width = std::max(1.0, 1.5 * view.unit);
  const COLORREF mark = legible(view.look[ThemeColor::focus], view.ground());
  const double half = width / 2;
  const double left = area.left + half;
  const double top = area.top + half;
  const double right = area.right - half;
  const double bottom = area.bottom - half;
  const double cut = radius * 0.35;
  const PointF ring[]{{left + cut, top},     {right - cut, top},    {right, top + cut},
                      {right, bottom - cut}, {right - cut, bottom}, {left + cut, bottom},
                      {left, bottom - cut},  {left, top + cut},     {left + cut, top}};
  view.canvas.line(ring, width, mark);
}

void paint_record_caption(const View& view, const std::wstring& caption, const FaceColors& colors) {
  const HFONT font = font_of(view.window);
  const LONG dot = std::lround(kDot * view.unit);
  const LONG gap = std::lround(kDotGap * view.unit);
  const LONG text = text_width(font, caption);
  const LONG spare = view.client.right - text - dot - gap;
  RECT area = view.client;
  if (spare >= 2 * gap) {
    const LONG top = (view.client.bottom - dot) / 2;
    const RECT place{spare / 2, top, spare / 2 + dot, top + dot};
    view.canvas.rounded(place, dot, view.enabled ? view.look[ThemeColor::recording] : colors.text);
    area.left = place.right + gap;
    view.canvas.text(caption, area, font, colors.text, kCaptionFormat | DT_LEFT);
    return;
  }
  view.canvas.text(caption, area, font, colors.text, kCaptionFormat | DT_CENTER);
}

void paint_double_triangle(const View& view, COLORREF color) {
  const double x = view.client.right / 2.0;
  const double middle = view.client.bottom / 2.0;
  const double half = 5 * view.unit;
  const double height = 5 * view.unit;
  for (const double top : {middle - height - 0.5 * view.unit, middle + 0.5 * view.unit})
    view.canvas.triangle({{{x - half, top}, {x + half, top}, {x, top + height}}}, color);
}

void paint_push(const View& view) {
  const FaceColors colors = face_colors(view);
  const bool pill = view.button.kind == ButtonLook::badge;
  const double radius = pill ? view.client.bottom / 2.0 : kRadius * view.unit;
  view.canvas.fill(view.client, view.ground());
  view.canvas.framed(view.client, radius, colors.inside, colors.edge);
  const std::wstring caption = window_text(view.window);
  switch (view.button.kind) {
    case ButtonLook::record: paint_record_caption(view, caption, colors); break;
    case ButtonLook::follow: paint_double_triangle(view, colors.text); break;
    default:
      view.canvas.text(caption, view.client, font_of(view.window), colors.text, kCaptionFormat | DT_CENTER);
  }
  RECT ring = view.client;
  if (view.button.kind == ButtonLook::primary || pill) InflateRect(&ring, -2, -2);
  if (view.focused && view.button.kind == ButtonLook::primary) {
    view.canvas.framed(ring, radius - 2, colors.inside, colors.text);
    view.canvas.text(caption, view.client, font_of(view.window), colors.text, kCaptionFormat | DT_CENTER);
  } else {
    paint_focus(view, ring, radius);
  }
}

void paint_tick(const View& view, const RECT& box, COLORREF color) {
  const double size = box.right - box.left;
  const auto at = [&](double x, double y) { return PointF{box.left + x * size, box.top + y * size}; };
  const PointF tick[]{at(0.24, 0.52), at(0.43, 0.71), at(0.77, 0.32)};
  view.canvas.line(tick, 1.7 * view.unit, color);
}

void paint_mark(const View& view, const RECT& box) {
  const Look& look = view.look;
  const bool round = view.button.kind == ButtonLook::radio;
  const double size = box.right - box.left;
  const double radius = round ? size / 2 : 3 * view.unit;
  if (!view.checked) {
    const COLORREF inside = view.enabled ? look[ThemeColor::field] : look[ThemeColor::disabled_field];
    const COLORREF strong = mixed(view.ground(), look[ThemeColor::text], look.dark() ? 55 : 50);
    COLORREF edge = view.hovered() || view.pushed ? legible(look[ThemeColor::accent], view.ground()) : strong;
    if (!view.enabled) edge = mixed(view.ground(), look[ThemeColor::border], 60);
    view.canvas.framed(box, radius, inside, edge);
    return;
  }
  COLORREF fill = look.filled(ThemeColor::primary_button);
  if (view.hovered() || view.pushed) fill = mixed(fill, RGB(0, 0, 0), kPrimaryHover);
  if (!view.enabled) fill = mixed(view.ground(), look[ThemeColor::disabled_text], 55);
  const COLORREF sign = view.enabled ? look[ThemeColor::selection_text] : view.ground();
  view.canvas.rounded(box, radius, fill);
  if (!round) return paint_tick(view, box, sign);
  RECT dot = box;
  const int inset = static_cast<int>(std::lround(size * 0.32));
  InflateRect(&dot, -inset, -inset);
  view.canvas.rounded(dot, size, sign);
}

void paint_marked(const View& view) {
  const COLORREF ground = view.ground();
  view.canvas.fill(view.client, ground);
  const LONG size = std::lround(kMarkSize * view.unit);
  const LONG top = (view.client.bottom - size) / 2;
  const LONG left = std::lround(view.unit);
  const RECT box{left, top, left + size, top + size};
  paint_mark(view, box);
  RECT area = view.client;
  area.left = box.right + std::lround(kMarkGap * view.unit);
  const COLORREF color = view.enabled ? view.look.text_on(ground) : view.look[ThemeColor::disabled_text];
  const std::wstring caption = window_text(view.window);
  view.canvas.text(caption, area, font_of(view.window), color, kCaptionFormat | DT_LEFT);
  if (!view.focused) return;
  const LONG end = area.left + text_width(font_of(view.window), caption) + std::lround(3 * view.unit);
  const LONG inset = std::lround(2 * view.unit);
  paint_focus(view, {area.left - inset, inset, std::min(end, area.right), area.bottom - inset},
              2 * view.unit);
}

void paint_entry(const View& view) {
  const Look& look = view.look;
  const COLORREF ground = view.ground();
  view.canvas.fill(view.client, ground);
  const bool lit = view.pushed && view.enabled;
  const COLORREF inside = lit ? look.filled(ThemeColor::list_selection) : ground;
  if (lit) view.canvas.rounded(view.client, kRadius * view.unit, inside);
  const COLORREF color = !view.enabled ? look[ThemeColor::disabled_text]
                         : lit         ? look[ThemeColor::selection_text]
                                       : look.text_on(inside);
  if (view.button.kind == ButtonLook::marked_entry && view.checked) {
    const LONG size = std::lround(6 * view.unit);
    const LONG top = (view.client.bottom - size) / 2;
    const LONG left = (std::lround(kEntryMark * view.unit) - size) / 2;
    view.canvas.rounded({left, top, left + size, top + size}, size, color);
  }
  RECT area = view.client;
  area.left += std::lround(kEntryMark * view.unit);
  view.canvas.text(window_text(view.window), area, font_of(view.window), color, kCaptionFormat | DT_LEFT);
}

void paint(HWND window, const Button& button) {
  const auto state = SendMessageW(window, BM_GETSTATE, 0, 0);
  const bool enabled = IsWindowEnabled(window) != FALSE;
  const double unit = GetDpiForWindow(window) / static_cast<double>(USER_DEFAULT_SCREEN_DPI);
  paint_window(window, [&](Canvas& canvas, const RECT& client) {
    const View view{window,
                    button,
                    *button.painted.look,
                    canvas,
                    client,
                    enabled,
                    (state & BST_PUSHED) != 0,
                    (state & BST_CHECKED) != 0,
                    shows_focus(window),
                    unit};
    switch (button.kind) {
      case ButtonLook::check:
      case ButtonLook::radio: return paint_marked(view);
      case ButtonLook::entry:
      case ButtonLook::marked_entry: return paint_entry(view);
      default: return paint_push(view);
    }
  });
}

// Past WM_PAINT, among other things that cannot be kept from it.
bool may_have_painted(UINT message) {
  switch (message) {
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_CAPTURECHANGED:
    case WM_KEYDOWN:
    case WM_KEYUP: return true;
    default: return false;
  }
}

LRESULT CALLBACK button_procedure(HWND window, UINT message, WPARAM first, LPARAM second, UINT_PTR,
                                  DWORD_PTR data) {
  auto* const button = reinterpret_cast<Button*>(data);
  follow_pointer(window, message, button->painted);
  switch (message) {
    case WM_ERASEBKGND: return 1;
    case WM_PAINT: paint(window, *button); return 0;
    case WM_NCDESTROY:
      RemoveWindowSubclass(window, button_procedure, kSubclass);
      delete button;
      break;
    default: break;
  }
  if (paints_by_itself(message)) return handled_unpainted(window, message, first, second);
  const LRESULT result = DefSubclassProc(window, message, first, second);
  if (may_have_painted(message)) InvalidateRect(window, nullptr, FALSE);
  return result;
}

}  // namespace

void make_button(HWND button, ButtonLook kind, const Look& look, ThemeColor ground) {
  auto owned = std::make_unique<Button>(Button{{&look, ground, false}, kind});
  if (SetWindowSubclass(button, button_procedure, kSubclass, reinterpret_cast<DWORD_PTR>(owned.get())))
    static_cast<void>(owned.release());  // the window's until it goes
}

int entry_frame_width(HWND window) {
  return scaled(window, kEntryMark + kEntryEnd);
}

}  // namespace hvt
