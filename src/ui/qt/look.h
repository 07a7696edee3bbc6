#pragma once

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QPalette>

namespace hvt::look {

// Style, colours and icon of the whole program; the font stays the desktop's. Call once, before the first
// window.
void prepare_application(QApplication& application);

// Fixed-width, as large as the interface font.
QFont fixed_font(const QFont& interface_font);

// Surfaces and accents that a QPalette has no role for.
inline constexpr QColor kHeaderBand{255, 255, 255};
inline constexpr QColor kSecondRow{229, 238, 248};
inline constexpr QColor kHairline{208, 215, 222};
inline constexpr QColor kErrorText{176, 42, 48};

}  // namespace hvt::look
