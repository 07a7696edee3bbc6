#pragma once

#include <QApplication>
#include <QFont>

#include "ui/qt/theme_colors.h"
#include "ui/theme.h"

namespace hvt::look {

// What the light appearance takes from the desktop: a calm set of our own, since desktops differ in what they
// tell.
SystemColors system_colors();

// Style, colours (light) and icon of the whole program; the font stays the desktop's. Call once, before the
// first window.
void prepare_application(QApplication& application);

// Every widget that there is and will be, in these colours. The style stays the same object.
void set_colors(const Colors& colors);
const Colors& colors();

// Fixed-width, as large as the interface font.
QFont fixed_font(const QFont& interface_font);

}  // namespace hvt::look
