// Risk: a screen reader that hears nothing of what is received, or the wrong line.

#include "ui/qt/accessible_receive_view.h"

#include <gtest/gtest.h>

namespace hvt {
namespace {

TEST(AccessibleView, TellsItsTextByCharacterWordLineAndParagraph) {
  ReceiveViewWidget view(nullptr);
  view.resize(400, 200);
  view.show();
  DisplayBatch batch;
  batch.add(L"gone\r\n", ColorRole::normal);
  batch.add(L"first line\r\nID <0x41>\r\n\xD83D\xDE00 end", ColorRole::normal);
  view.append(batch);
  view.trim_head(5);

  QAccessibleInterface* const found = QAccessible::queryAccessibleInterface(&view);
  ASSERT_NE(found, nullptr);
  EXPECT_TRUE(found->state().readOnly);
  QAccessibleTextInterface* const text = found->textInterface();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->characterCount(), 27);
  EXPECT_EQ(text->text(6, 10), QStringLiteral("line"));

  struct Case {
    QAccessible::TextBoundaryType boundary;
    int offset;
    const char* before;
    const char* at;
    const char* after;
  };
  const Case cases[]{
      {QAccessible::CharBoundary, 1, "f", "i", "r"},
      {QAccessible::CharBoundary, 22, "\n", "😀", " "},  // its second half
      {QAccessible::WordBoundary, 7, " ", "line", "\n"},
      {QAccessible::LineBoundary, 12, "first line\n", "ID <0x41>\n", "😀 end"},
      {QAccessible::ParagraphBoundary, 0, "", "first line\n", "ID <0x41>\n"},
  };
  for (const Case& one : cases) {
    int begin = -1;
    int end = -1;
    EXPECT_EQ(text->textBeforeOffset(one.offset, one.boundary, &begin, &end).toStdString(), one.before);
    EXPECT_EQ(text->textAfterOffset(one.offset, one.boundary, &begin, &end).toStdString(), one.after);
    EXPECT_EQ(text->textAtOffset(one.offset, one.boundary, &begin, &end).toStdString(), one.at);
    EXPECT_LE(begin, one.offset);
    EXPECT_GT(end, one.offset);
    EXPECT_EQ(text->text(begin, end).toStdString(), one.at);
  }
}

TEST(AccessibleView, MovesCaretAndSelectionLikeAPerson) {
  ReceiveViewWidget view(nullptr);
  view.resize(400, 200);
  view.show();
  DisplayBatch batch;
  for (int i = 0; i < 100; ++i)
    batch.add(L"0123456789\r\n", ColorRole::normal);
  view.append(batch);
  view.go_to_tail();
  int went_elsewhere = 0;
  view.on_navigated([&] { ++went_elsewhere; });
  QAccessibleTextInterface* const text = QAccessible::queryAccessibleInterface(&view)->textInterface();
  EXPECT_EQ(text->cursorPosition(), 1100);
  EXPECT_EQ(text->selectionCount(), 0);

  text->setSelection(0, 22, 26);
  EXPECT_EQ(view.selected_text(), QStringLiteral("0123"));
  int begin = 0;
  int end = 0;
  text->selection(0, &begin, &end);
  EXPECT_EQ(begin, 22);
  EXPECT_EQ(end, 26);
  EXPECT_EQ(went_elsewhere, 1) << "what arrives now does not take the selection away";
  const QRect cell = text->characterRect(24);
  EXPECT_EQ(text->offsetAtPoint(cell.center()), 24) << "it was brought into view";
  text->removeSelection(0);
  EXPECT_EQ(text->selectionCount(), 0);
  text->setCursorPosition(3);
  EXPECT_EQ(text->cursorPosition(), 3);
}

}  // namespace
}  // namespace hvt
