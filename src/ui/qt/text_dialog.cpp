#include "ui/qt/text_dialog.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QTextCursor>
#include <QTextEdit>
#include <QTextFrame>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "ui/qt/look.h"
#include "ui/qt/qt_text.h"

namespace hvt {
namespace {

constexpr int kWidth = 600;
constexpr int kMinimumWidth = 320;
constexpr int kMinimumHeight = 140;
constexpr int kMostHeight = 560;
constexpr int kTextMargin = 12;
constexpr int kButtonMargin = 10;
constexpr int kButtonGap = 8;
constexpr int kButtonWidth = 96;
constexpr qreal kHeadingScale = 1.15;

// Writes the lines of a dialog into an empty document.
class Writer {
 public:
  explicit Writer(QTextEdit& edit) : font_(edit.font()), cursor_(edit.document()) {}

  void write(const DialogLine& line) {
    switch (line.kind) {
      case DialogLine::Kind::heading: return heading(to_qstring(line.text));
      case DialogLine::Kind::text: return paragraph(to_qstring(line.text));
      case DialogLine::Kind::code: return code(to_qstring(line.text));
    }
  }

 private:
  void block(const QTextBlockFormat& format, const QTextCharFormat& characters, const QString& text) {
    if (first_) {
      cursor_.setBlockFormat(format);
      cursor_.setCharFormat(characters);
    } else {
      cursor_.insertBlock(format, characters);
    }
    cursor_.insertText(text, characters);
    first_ = false;
  }

  void heading(const QString& text) {
    QTextBlockFormat format;
    format.setTopMargin(first_ ? 0 : 14);
    format.setBottomMargin(4);
    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    bold.setFontPointSize(font_.pointSizeF() * kHeadingScale);
    block(format, bold, text);
  }

  void paragraph(const QString& text) {
    QTextBlockFormat format;
    format.setBottomMargin(6);
    format.setLineHeight(125, QTextBlockFormat::ProportionalHeight);
    block(format, {}, text);
  }

  // A frame of its own, so that the surface stands out around the text.
  void code(const QString& text) {
    QTextFrameFormat surface;
    surface.setBackground(look::colors().code);
    surface.setPadding(8);
    surface.setTopMargin(2);
    surface.setBottomMargin(8);
    surface.setBorder(0);
    QTextFrame* const outside = cursor_.currentFrame();
    cursor_.insertFrame(surface);
    QTextBlockFormat lines;
    lines.setNonBreakableLines(true);
    QTextCharFormat fixed;
    fixed.setFont(look::fixed_font(font_));
    cursor_.setBlockFormat(lines);
    cursor_.insertText(QString(text).replace(QLatin1Char('\n'), QChar::LineSeparator), fixed);
    cursor_ = outside->lastCursorPosition();
    first_ = true;  // the frame is followed by an empty block
  }

  const QFont font_;
  QTextCursor cursor_;
  bool first_ = true;
};

}  // namespace

TextDialog::TextDialog(QWidget* parent, std::function<void()> link_pressed)
    : QDialog(parent),
      text_(new QTextEdit(this)),
      link_(new QPushButton(this)),
      close_(new QPushButton(this)) {
  text_->setReadOnly(true);
  text_->setUndoRedoEnabled(false);
  text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text_->setTabChangesFocus(true);
  text_->setFrameShape(QFrame::NoFrame);
  text_->document()->setDocumentMargin(kTextMargin);
  connect(link_, &QPushButton::clicked, this, std::move(link_pressed));
  connect(close_, &QPushButton::clicked, this, &QDialog::reject);
  close_->setDefault(true);
  close_->setMinimumWidth(kButtonWidth);
  take_colors();

  auto* const buttons = new QHBoxLayout;
  buttons->setContentsMargins(kButtonMargin, kButtonMargin, kButtonMargin, kButtonMargin);
  buttons->setSpacing(kButtonGap);
  buttons->addStretch();
  buttons->addWidget(link_);
  buttons->addWidget(close_);
  auto* const rows = new QVBoxLayout(this);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->setSpacing(0);
  rows->addWidget(text_);
  rows->addLayout(buttons);
  setMinimumSize(kMinimumWidth, kMinimumHeight);
}

void TextDialog::set_content(const DialogContent& content) {
  if (content == content_) return;
  content_ = content;
  setWindowTitle(to_qstring(content.title));
  text_->setAccessibleName(to_qstring(content.title));
  link_->setText(literal_qstring(content.link));
  link_->setVisible(!content.link.empty());
  close_->setText(literal_qstring(content.close));
  write_text();
  if (!isVisible()) {
    fit_height();
    close_->setFocus();
  }
}

void TextDialog::write_text() {
  const int scrolled = text_->verticalScrollBar()->value();
  text_->clear();
  Writer writer(*text_);
  for (const DialogLine& line : content_.lines)
    writer.write(line);
  text_->verticalScrollBar()->setValue(scrolled);
}

// A short text gets a small window. It is measured in a copy: the edit lays out its own text when it is
// shown.
void TextDialog::fit_height() {
  const std::unique_ptr<QTextDocument> copy(text_->document()->clone());
  copy->setTextWidth(kWidth - style()->pixelMetric(QStyle::PM_ScrollBarExtent));
  const int below = close_->sizeHint().height() + 2 * kButtonMargin;
  const int text = static_cast<int>(std::ceil(copy->size().height()));  // a fraction less would scroll
  resize(kWidth, std::clamp(text + below, kMinimumHeight, kMostHeight));
}

void TextDialog::take_colors() {
  QPalette colors;
  colors.setColor(QPalette::Base, look::colors().page);
  text_->setPalette(colors);
}

// The surfaces of the document are not taken from the palette.
void TextDialog::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) take_colors();
  if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) write_text();
}

}  // namespace hvt
