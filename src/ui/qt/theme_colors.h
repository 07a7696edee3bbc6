#pragma once

#include <QColor>
#include <QPalette>

#include "ui/theme.h"

namespace hvt::look {

// Every colour that something is painted in: the slots of a palette, and the shades between them.
//
// Promises  text on the surface it is meant for has a contrast of at least 4.5 to 1, whatever the palette.
struct Colors {
  bool dark = false;
  QColor window, menu_bar, header, alternate_row;
  QColor field, disabled_field;
  QColor text, secondary_text, disabled_text, error_text, link;
  QColor border, hairline, frame;
  QColor accent, focus;
  QColor selection, selection_text;
  QColor entry, entry_text;  // under the pointer in a list or menu
  QColor menu;               // behind the entries of menus, and tool tips
  QColor button, hovered_button, pressed_button, disabled_button;
  QColor primary, hovered_primary, pressed_primary, primary_text;
  QColor hovered_bar, pressed_bar;  // of the menu buttons
  QColor badge, badge_text;
  QColor page;  // behind text to be read at length
  QColor code;  // behind its lines in the fixed-width font
  QColor scroll_groove, scroll_thumb, scroll_thumb_held;
  QColor recording, warning;  // signs
};

Colors derive_colors(const ThemePalette& palette);
QPalette to_qpalette(const Colors& colors);

QColor to_qcolor(Rgb color);
Rgb to_rgb(const QColor& color);

// `share` of `other`, 0 to 1, in `color`.
QColor mixed(const QColor& color, const QColor& other, double share);
// From 1 (the same) to 21 (black on white).
double contrast(const QColor& one, const QColor& other);
// `color`, moved towards black or white as far as it must be to be read on `surface`.
QColor readable(const QColor& color, const QColor& surface);

}  // namespace hvt::look
