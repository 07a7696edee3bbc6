// The risks of the receive view: text that moves under a reader's eyes, an end that is not in sight although
// it is followed, colours that are lost, and a copy that differs from what is shown.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QImage>
#include <QMenu>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "ui/qt/look.h"
#include "ui/qt/receive_view_widget.h"

namespace hvt {
namespace {

DisplayBatch batch_of(std::wstring_view text, ColorRole role = ColorRole::normal) {
  DisplayBatch batch;
  batch.add(text, role);
  return batch;
}

std::wstring line(int number) {
  return L"line " + std::to_wstring(number) + L" of many\r\n";
}

class View : public testing::Test {
 protected:
  View() {
    view_.setFont(look::fixed_font(QApplication::font()));
    view_.resize(500, 300);
    view_.show();
  }

  void append_lines(int count, bool follow) {
    view_.begin_update();
    for (int i = 0; i < count; ++i)
      view_.append(batch_of(line(next_line_++)));
    view_.end_update(follow);
  }

  QImage seen() { return view_.viewport()->grab().toImage(); }

  QPoint cell(int column, int row) const {
    const QFontMetrics font = view_.fontMetrics();
    return {4 + font.horizontalAdvance(QString(column, QLatin1Char('M'))) + 1,
            4 + row * (font.height() + 2) + 5};
  }

  bool shows(const QImage& image, Rgb color, int row) const {
    const int top = cell(0, row).y() - 4;
    for (int y = top; y < top + view_.fontMetrics().height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (image.pixel(x, y) == qRgb(color.red, color.green, color.blue)) return true;
      }
    }
    return false;
  }

  ReceiveViewWidget view_{nullptr};
  int next_line_ = 0;
};

TEST_F(View, shows_the_end_when_it_follows_and_stays_when_it_does_not) {
  EXPECT_TRUE(view_.at_tail());
  append_lines(500, true);
  EXPECT_TRUE(view_.at_tail());
  EXPECT_EQ(view_.verticalScrollBar()->value(), view_.verticalScrollBar()->maximum());
  EXPECT_EQ(view_.line_count(), 501U);

  append_lines(1, false);
  EXPECT_FALSE(view_.at_tail());
  append_lines(1, true);
  EXPECT_TRUE(view_.at_tail());

  view_.clear();
  EXPECT_TRUE(view_.at_tail());
  EXPECT_EQ(view_.line_count(), 0U);
}

TEST_F(View, keeps_visible_rows_in_place_while_thousands_of_batches_come_and_the_head_goes) {
  append_lines(2000, true);
  view_.verticalScrollBar()->setValue(1900);
  const QImage before = seen();
  const int value = view_.verticalScrollBar()->value();
  for (int i = 0; i < 3000; ++i) {
    view_.begin_update();
    view_.append(batch_of(line(next_line_++)));
    view_.trim_head(10);
    view_.end_update(false);
  }
  EXPECT_EQ(seen(), before);
  EXPECT_LT(view_.verticalScrollBar()->value(), value) << "rows above went away";
  EXPECT_FALSE(view_.at_tail());
}

TEST_F(View, keeps_the_text_at_its_top_when_its_width_changes) {
  for (int i = 0; i < 400; ++i)
    view_.append(batch_of(std::wstring(150, static_cast<wchar_t>(L'a' + i % 26)) + L"\r\n"));
  view_.verticalScrollBar()->setValue(600);
  const auto top_text = [&] {
    QTest::mouseDClick(view_.viewport(), Qt::LeftButton, {}, cell(2, 0));
    QTest::mouseClick(view_.viewport(), Qt::LeftButton, {}, cell(2, 0));
    return view_.selected_text();
  };
  const QString top = top_text();
  EXPECT_EQ(top.size(), 150);
  view_.resize(320, 300);
  EXPECT_EQ(top_text(), top);
}

TEST_F(View, paints_each_role_in_its_colour_and_in_another_appearance_without_new_text) {
  const QColor disabled = QApplication::palette().color(QPalette::Disabled, QPalette::Text);
  const Rgb gray{static_cast<std::uint8_t>(disabled.red()), static_cast<std::uint8_t>(disabled.green()),
                 static_cast<std::uint8_t>(disabled.blue())};
  for (std::size_t role = 0; role < kColorRoleCount; ++role) {
    view_.append(batch_of(L"HHHHHHHH\r\n", static_cast<ColorRole>(role)));
  }
  for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
    view_.set_appearance(appearance);
    const QImage image = seen();
    for (std::size_t role = 0; role < kColorRoleCount; ++role) {
      EXPECT_TRUE(
          shows(image, role_color(static_cast<ColorRole>(role), appearance, gray), static_cast<int>(role)))
          << "role " << role;
    }
  }
}

TEST_F(View, copies_what_is_selected_with_its_line_breaks) {
  view_.append(batch_of(L"first <0xAB>\r\n", ColorRole::rx_payload));
  view_.append(batch_of(L"second\r\n", ColorRole::tx_payload));
  view_.append(batch_of(std::wstring(300, L'w') + L" \xD55C\xD83D\xDE00", ColorRole::timeout));
  const QString last = QString(300, QLatin1Char('w')) + QString::fromUtf8(" 한😀");
  QWidget* const port = view_.viewport();
  const auto key = [&](Qt::Key which, Qt::KeyboardModifiers with) { QTest::keyClick(&view_, which, with); };

  struct Case {
    const char* name;
    std::function<void()> select;
    QString copied;
  };
  const std::vector<Case> cases{
      {"everything", [&] { key(Qt::Key_A, Qt::ControlModifier); },
       QStringLiteral("first <0xAB>\nsecond\n") + last},
      {"a drag over a line break",
       [&] {
         QTest::mousePress(port, Qt::LeftButton, {}, cell(6, 0));
         QMouseEvent move(QEvent::MouseMove, cell(3, 1), port->mapToGlobal(cell(3, 1)), Qt::NoButton,
                          Qt::LeftButton, Qt::NoModifier);
         QApplication::sendEvent(port, &move);
         QTest::mouseRelease(port, Qt::LeftButton, {}, cell(3, 1));
       },
       QStringLiteral("<0xAB>\nsec")},
      {"a word", [&] { QTest::mouseDClick(port, Qt::LeftButton, {}, cell(8, 0)); }, QStringLiteral("0xAB")},
      {"a whole line by the third click",
       [&] {
         QTest::mouseDClick(port, Qt::LeftButton, {}, cell(2, 1));
         QTest::mouseClick(port, Qt::LeftButton, {}, cell(2, 1));
       },
       QStringLiteral("second")},
      {"by keys from a click",
       [&] {
         QTest::mouseClick(port, Qt::LeftButton, {}, cell(0, 1));
         key(Qt::Key_End, Qt::ShiftModifier);
         key(Qt::Key_Left, Qt::ShiftModifier);
         key(Qt::Key_Up, Qt::ShiftModifier);
       },
       QStringLiteral(" <0xAB>\n")},
      {"to the end, a pair counting as one",
       [&] {
         key(Qt::Key_A, Qt::ControlModifier);
         key(Qt::Key_Left, Qt::ShiftModifier);
       },
       QStringLiteral("first <0xAB>\nsecond\n") + last.chopped(2)},
  };
  for (const Case& one : cases) {
    one.select();
    QApplication::clipboard()->clear();
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), one.copied.toStdString()) << one.name;
  }
}

TEST_F(View, offers_copy_and_select_all_in_its_menu_in_either_language) {
  // Opens the menu, notes its entries ("-" marks a disabled one) and picks the one of that number, if any.
  const auto menu = [&](qsizetype pick) {
    QStringList entries;
    QTimer::singleShot(0, &view_, [&] {
      auto* const open = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      ASSERT_NE(open, nullptr);
      for (const QAction* action : open->actions())
        entries << (action->isEnabled() ? QString() : QStringLiteral("-")) + action->text();
      if (pick >= 0) open->actions().at(pick)->trigger();
      open->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Keyboard, {5, 5}, view_.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(view_.viewport(), &event);
    return entries.join(QLatin1Char(' ')).toStdString();
  };
  QApplication::clipboard()->clear();
  EXPECT_EQ(menu(-1), "-Copy -Select all");
  view_.append(batch_of(L"text"));
  EXPECT_EQ(menu(1), "-Copy Select all");
  view_.set_language(Language::korean);
  EXPECT_EQ(menu(0), "복사 모두 선택");
  EXPECT_EQ(QApplication::clipboard()->text().toStdString(), "text");
}

TEST_F(View, keeps_the_selected_text_selected_while_text_comes_and_goes) {
  append_lines(100, true);
  view_.verticalScrollBar()->setValue(50);
  QTest::mouseDClick(view_.viewport(), Qt::LeftButton, {}, cell(5, 3));
  EXPECT_EQ(view_.selected_text(), QStringLiteral("53"));
  append_lines(5000, true);
  view_.trim_head(100);
  EXPECT_EQ(view_.selected_text(), QStringLiteral("53"));
  view_.trim_head(1'000'000);
  append_lines(5000, true);
  EXPECT_TRUE(view_.selected_text().isEmpty()) << "it went with the head";
}

}  // namespace
}  // namespace hvt
