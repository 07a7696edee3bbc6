// Risk: a colour that stays behind in one of the themes, text that cannot be read, a switch that costs native
// objects or another window.

#include "ui/theme.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QMenu>
#include <QMessageBox>
#include <QPaintEvent>
#include <QSignalSpy>
#include <QToolTip>
#include <map>

#include "tests/ui/qt/face_rig.h"
#include "ui/qt/look.h"
#include "ui/qt/theme_style.h"

namespace hvt {
namespace {

using look::Colors;

// Surface and text of everything that says something.
struct Pair {
  const char* what;
  QColor Colors::*text;
  QColor Colors::*surface;
};
constexpr Pair kTexts[]{
    {"window", &Colors::text, &Colors::window},
    {"menu bar", &Colors::text, &Colors::menu_bar},
    {"hovered menu button", &Colors::text, &Colors::hovered_bar},
    {"open menu button", &Colors::text, &Colors::pressed_bar},
    {"header", &Colors::text, &Colors::header},
    {"field", &Colors::text, &Colors::field},
    {"second row", &Colors::text, &Colors::alternate_row},
    {"placeholder", &Colors::secondary_text, &Colors::field},
    {"disabled field", &Colors::disabled_text, &Colors::disabled_field},
    {"disabled button", &Colors::disabled_text, &Colors::disabled_button},
    {"disabled label", &Colors::disabled_text, &Colors::window},
    {"button", &Colors::text, &Colors::button},
    {"hovered button", &Colors::text, &Colors::hovered_button},
    {"primary button", &Colors::primary_text, &Colors::primary},
    {"hovered primary button", &Colors::primary_text, &Colors::hovered_primary},
    {"held primary button", &Colors::primary_text, &Colors::pressed_primary},
    {"menu entry", &Colors::text, &Colors::menu},
    {"chosen entry", &Colors::entry_text, &Colors::entry},
    {"selection", &Colors::selection_text, &Colors::selection},
    {"badge", &Colors::badge_text, &Colors::badge},
    {"error", &Colors::error_text, &Colors::window},
    {"page", &Colors::text, &Colors::page},
    {"code", &Colors::text, &Colors::code},
};

class Theme : public Face {
 protected:
  ~Theme() override { window_.set_theme(palette(false)); }

  ThemePalette palette(bool dark) const { return build_theme_palette(dark, window_.system_colors()); }

  static QColor color_at(QWidget& widget, QPoint at) { return widget.grab().toImage().pixelColor(at); }
  QColor color_of(ControlId id, QPoint at) const { return color_at(*find(id), at); }
};

TEST_F(Theme, every_text_can_be_read_on_its_surface) {
  for (const bool dark : {false, true}) {
    const Colors colors = look::derive_colors(palette(dark));
    for (const Pair& pair : kTexts)
      EXPECT_GE(look::contrast(colors.*pair.text, colors.*pair.surface), 4.5)
          << pair.what << (dark ? ", dark" : ", light");
  }
}

TEST_F(Theme, every_surface_takes_the_colour_of_its_slot) {
  for (const bool dark : {true, false, true}) {
    SCOPED_TRACE(dark ? "dark" : "light");
    const ThemePalette theme = palette(dark);
    window_.set_theme(theme);
    const auto slot = [&theme](ThemeColor color) { return look::to_qcolor(theme[color]); };
    const QImage seen = window_.grab().toImage();
    const auto beside = [&](ControlId id) {
      const QRect at = find(id)->geometry();
      return seen.pixelColor(at.right() + 4, at.center().y());
    };
    EXPECT_EQ(beside(ControlId::update_badge), slot(ThemeColor::menu_bar));
    EXPECT_EQ(beside(ControlId::parity), slot(ThemeColor::header));
    EXPECT_EQ(beside(ControlId::line_count), slot(ThemeColor::window));
    EXPECT_EQ(beside(ControlId::packet_2), slot(ThemeColor::alternate_row));
    EXPECT_EQ(beside(ControlId::packet_3), slot(ThemeColor::window));
    const QRect title = find(ControlId::record_title)->geometry();
    EXPECT_EQ(seen.pixelColor(title.left() - 5, title.center().y()), slot(ThemeColor::recording));
    EXPECT_EQ(color_of(ControlId::packet_2, {120, 8}), slot(ThemeColor::alternate_row));
    EXPECT_EQ(color_of(ControlId::packet_3, {120, 8}), slot(ThemeColor::field));
    EXPECT_EQ(color_of(ControlId::port, {3, 5}), slot(ThemeColor::field));
    EXPECT_EQ(color_of(ControlId::rx_timeout, {8, 8}), slot(ThemeColor::field));
    EXPECT_EQ(color_of(ControlId::connect, {8, 5}), slot(ThemeColor::primary_button));
    EXPECT_EQ(color_of(ControlId::update_badge, {6, 4}), slot(ThemeColor::badge));
    EXPECT_EQ(color_of(ControlId::receive_view, {100, 40}), slot(ThemeColor::receive_surface));
  }
}

TEST_F(Theme, what_opens_is_dark_too) {
  const ThemePalette theme = palette(true);
  window_.set_theme(theme);
  const auto is_dark = [](const QColor& color) { return color.lightness() < 80; };

  auto* const baud = find<QComboBox>(ControlId::baud);
  baud->showPopup();
  EXPECT_TRUE(is_dark(color_at(*baud->view()->viewport(), {60, 3}))) << "list";
  baud->hidePopup();

  QTest::mousePress(find(ControlId::menu_help), Qt::LeftButton);
  QWidget* const menu = QApplication::activePopupWidget();
  ASSERT_NE(menu, nullptr);
  EXPECT_EQ(color_at(*menu, {menu->width() - 6, menu->height() - 6}),
            look::to_qcolor(theme[ThemeColor::menu_bar]));
  menu->close();

  window_.show_dialog(DialogId::usage, {L"Usage", {{DialogLine::Kind::code, L"AT"}}, L"", L"Close"});
  window_.show_notice(L"Notice", L"Something happened.");
  int opened = 0;
  for (QWidget* const top : QApplication::topLevelWidgets()) {
    if (qobject_cast<QDialog*>(top) == nullptr || !top->isVisible()) continue;
    ++opened;
    EXPECT_TRUE(is_dark(color_at(*top, {3, 3}))) << top->windowTitle().toStdString();
    EXPECT_TRUE(is_dark(color_at(*top, {3, top->height() - 4}))) << top->windowTitle().toStdString();
    top->close();
  }
  EXPECT_EQ(opened, 2);
  EXPECT_TRUE(is_dark(QToolTip::palette().color(QPalette::ToolTipBase)));
}

// What of a window is painted.
class Painted final : public QObject {
 public:
  explicit Painted(QWidget& window) { window.installEventFilter(this); }
  QRegion region;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) region += static_cast<QPaintEvent*>(event)->region();
    return false;
  }
};

// Paints come in one go: the corner that is asked for at the end would bring everything else along.
TEST_F(Theme, the_same_one_again_repaints_nothing) {
  Painted painted(window_);
  const auto repaints = [&](bool dark) {
    window_.set_theme(palette(dark));
    show_facts(usual_facts());
    window_.update(0, 0, 1, 1);
    painted.region = {};
    EXPECT_TRUE(QTest::qWaitFor([&] { return !painted.region.isEmpty(); }));
    return painted.region.intersects(find(ControlId::status)->geometry());
  };
  EXPECT_TRUE(repaints(true));
  EXPECT_FALSE(repaints(true));
  EXPECT_TRUE(repaints(false));
}

// Each switch as the controller makes it: captions, menus, layout, colours.
TEST_F(Theme, five_hundred_switches_leave_nothing_behind) {
  const auto objects = [this] {
    return window_.findChildren<QObject*>().size() + qApp->children().size() +
           QApplication::allWidgets().size();
  };
  const auto once = [this](int round) {
    Facts facts = usual_facts();
    facts.language = round % 2 == 0 ? Language::korean : Language::english;
    show_facts(facts);
    window_.place(layout(window_.measure(), {800, 800}, {.transmit_expanded = true}));
    window_.set_theme(palette(round % 3 == 0));
  };
  for (int round = 0; round < 6; ++round)
    once(round);
  QCoreApplication::processEvents();
  const auto before = objects();
  const QStyle* const style = QApplication::style();
  for (int round = 0; round < 500; ++round)
    once(round);
  QCoreApplication::processEvents();
  EXPECT_EQ(objects(), before);
  EXPECT_EQ(QApplication::style(), style);
}

TEST_F(Theme, always_on_top_keeps_the_window_that_it_is) {
  const QRect place = window_.geometry();
  const WId id = window_.winId();
  const QSignalSpy shown(window_.windowHandle(), &QWindow::visibleChanged);
  for (const bool on : {true, true, false}) {
    window_.set_always_on_top(on);
    EXPECT_EQ(window_.windowFlags().testFlag(Qt::WindowStaysOnTopHint), on);
    EXPECT_EQ(window_.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint), on);
  }
  EXPECT_EQ(window_.winId(), id);
  EXPECT_EQ(window_.geometry(), place);
  EXPECT_EQ(shown.count(), 0);
}

}  // namespace
}  // namespace hvt
