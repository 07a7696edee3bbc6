// What the main window has to do with the desktop: its place on the screen, its colours, and the windows that
// open beside it.

#include <QDesktopServices>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QScreen>
#include <QUrl>
#include <algorithm>

#include "ui/qt/application.h"
#include "ui/qt/look.h"
#include "ui/qt/main_window.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/stay_on_top.h"
#include "ui/qt/text_dialog.h"
#include "ui/section_marks.h"

namespace hvt {
namespace {

constexpr QSize kFileDialogSize{760, 500};

constexpr int kBandMargin = 2;  // around the packet rows
constexpr int kHeaderMargin = 4;
constexpr int kDot = 8;
constexpr QSize kSignSize{kDot + 3, kDot};  // with more space to the caption than the toolkit gives

// The pattern for any file asks for a full stop in the name here, which not every file has.
QString name_filter(const FileQuestion::Type& type) {
  const std::wstring pattern = type.pattern == L"*.*" ? L"*" : type.pattern;
  return to_qstring(type.name + L" (" + pattern + L")");
}

// A sign on a button.
QPixmap dot(const QColor& color) {
  constexpr int kScale = 2;  // sharp on fine screens too
  QPixmap pixmap(kSignSize * kScale);
  pixmap.setDevicePixelRatio(kScale);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawEllipse(QRectF(0, 0, kDot, kDot));
  return pixmap;
}

}  // namespace

// The place

Size QtMainWindow::client_size() const {
  return isMinimized() ? Size{} : Size{width(), height()};
}

Size QtMainWindow::largest_client_size() const {
  const QSize frame = frameGeometry().size() - size();
  const QSize room = screen()->availableSize() - frame;
  return {room.width(), room.height()};
}

void QtMainWindow::set_client_size(Size client) {
  const QSize before = size();
  const Size most = largest_client_size();
  resize(std::min(client.width, most.width), std::min(client.height, most.height));
  if (isVisible() && size() == before) events_.resized({before.width(), before.height()});  // no event comes
}

void QtMainWindow::set_place(const WindowPlace& place) {
  const QRect wanted(place.normal.x, place.normal.y, place.normal.width, place.normal.height);
  const QScreen* const where = QGuiApplication::screenAt(wanted.center());
  const QRect free = (where != nullptr ? where : screen())->availableGeometry();
  QRect rect(wanted.topLeft(), wanted.size().boundedTo(free.size()));
  rect.moveTo(std::clamp(rect.x(), free.left(), free.right() + 1 - rect.width()),
              std::clamp(rect.y(), free.top(), free.bottom() + 1 - rect.height()));
  setGeometry(rect);
  if (place.maximized) setWindowState(windowState() | Qt::WindowMaximized);
}

WindowPlace QtMainWindow::current_place() const {
  const QRect rect = isMaximized() ? normalGeometry() : geometry();
  return {{rect.x(), rect.y(), rect.width(), rect.height()}, isMaximized()};
}

void QtMainWindow::set_always_on_top(bool on_top) {
  set_stays_on_top(*this, on_top);
}

// The colours

bool QtMainWindow::desktop_prefers_dark() const {
  return static_cast<Application&>(*qApp).desktop().prefers_dark();
}

SystemColors QtMainWindow::system_colors() const {
  return look::system_colors();
}

void QtMainWindow::set_theme(const ThemePalette& palette) {
  if (theme_ == palette) return;
  receive_view().set_appearance(palette.dark ? Appearance::dark : Appearance::light);
  look::set_colors(look::derive_colors(palette));
  tint_packet_rows();
  show_record_sign();
  theme_ = palette;
}

void QtMainWindow::tint_packet_rows() {
  for (std::size_t row = 1; row < kPacketRows; row += 2) {
    QPalette colors;
    colors.setColor(QPalette::Base, look::colors().alternate_row);
    widget(packet_field(row)).setPalette(colors);
  }
}

void QtMainWindow::show_record_sign() {
  QIcon sign;
  sign.addPixmap(dot(look::colors().recording), QIcon::Normal);
  sign.addPixmap(dot(look::colors().disabled_text), QIcon::Disabled);
  auto& button = as<QAbstractButton>(ControlId::record);
  button.setIconSize(kSignSize);
  button.setIcon(sign);
}

// Surfaces behind the controls
void QtMainWindow::paintEvent(QPaintEvent*) {
  const look::Colors& colors = look::colors();
  QPainter painter(this);
  int bar_bottom = 0;
  int header_bottom = 0;
  for (const ControlRow& row : kControls) {
    const Rect& rect = placement_[index_of(row.id)];
    if (row.group == ControlGroup::menu) bar_bottom = std::max(bar_bottom, rect.bottom() + kBandMargin);
    if (row.group == ControlGroup::connection) header_bottom = std::max(header_bottom, rect.bottom());
  }
  header_bottom += kHeaderMargin;
  painter.fillRect(0, 0, width(), bar_bottom, colors.menu_bar);
  painter.fillRect(0, bar_bottom, width(), header_bottom - bar_bottom, colors.header);
  painter.fillRect(0, header_bottom, width(), 1, colors.hairline);
  for (std::size_t row = 1; row < kPacketRows; row += 2) {
    const Rect& field = placement_[index_of(packet_field(row))];
    if (!widget(packet_field(row)).isVisible()) continue;
    painter.fillRect(0, field.y - kBandMargin, width(), field.height + 2 * kBandMargin, colors.alternate_row);
  }
  const Rect& status = placement_[index_of(ControlId::status)];
  painter.fillRect(0, status.y, width(), 1, colors.hairline);
  if (!theme_) return;
  for (const SectionMark& mark : section_marks(placement_)) {
    const Rect& place = mark.place;
    painter.fillRect(place.x, place.y, place.width, place.height, look::to_qcolor((*theme_)[mark.color]));
  }
}

// Windows beside it

// Not exec(), which would hold up whoever asks; but nobody would wait for a box over a window that closes.
void QtMainWindow::show_notice(std::wstring_view title, std::wstring_view text) {
  if (closed_) {
    QMessageBox::warning(nullptr, to_qstring(title), to_qstring(text));
    return;
  }
  auto* const box =
      new QMessageBox(QMessageBox::Information, to_qstring(title), to_qstring(text), QMessageBox::Ok, this);
  box->setTextFormat(Qt::PlainText);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->open();
}

void QtMainWindow::show_dialog(DialogId id, const DialogContent& content) {
  if (closed_) return;
  TextDialog*& dialog = dialogs_[static_cast<std::size_t>(id)];
  if (dialog == nullptr) dialog = new TextDialog(this, [this, id] { events_.dialog_link(id); });
  dialog->set_content(content);
  dialog->show();
  dialog->raise();
  dialog->activateWindow();
}

void QtMainWindow::change_dialog(DialogId id, const DialogContent& content) {
  if (dialog_open(id)) dialogs_[static_cast<std::size_t>(id)]->set_content(content);
}

bool QtMainWindow::dialog_open(DialogId id) const {
  const TextDialog* const dialog = dialogs_[static_cast<std::size_t>(id)];
  return dialog != nullptr && dialog->isVisible();
}

std::optional<std::filesystem::path> QtMainWindow::ask_file(const FileQuestion& question) {
  QFileDialog dialog(this, to_qstring(question.title), QString::fromStdString(question.folder.string()));
  dialog.setAcceptMode(question.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog.setFileMode(question.save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
  dialog.setOption(QFileDialog::HideNameFilterDetails);  // the names have their pattern already
  QStringList filters;
  for (const FileQuestion::Type& type : question.types)
    filters << name_filter(type);
  dialog.setNameFilters(filters);
  if (question.save) {
    dialog.setDefaultSuffix(to_qstring(question.extension));
    dialog.selectFile(to_qstring(question.proposed_name));
  }
  dialog.resize(kFileDialogSize);
  for (QHeaderView* const header : dialog.findChildren<QHeaderView*>())
    header->setStretchLastSection(true);  // the date is wide
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return std::filesystem::path(dialog.selectedFiles().front().toStdString());
}

bool QtMainWindow::open_in_desktop(const std::filesystem::path& target) {
  return QDesktopServices::openUrl(QUrl::fromUserInput(QString::fromStdString(target.string())));
}

}  // namespace hvt
