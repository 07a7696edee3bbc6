#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QScrollBar>
#include <QTextEdit>
#include <QWindow>
#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "base/guarded.h"
#include "base/text.h"
#include "self_test/driver.h"
#include "ui/qt/main_window.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/receive_view_widget.h"

namespace hvt::self_test {
namespace {

constexpr std::chrono::seconds kPatience{10};

struct KeyRow {
  Key key;
  Qt::Key native;
};
constexpr KeyRow kKeys[] = {
    {Key::enter, Qt::Key_Return},   {Key::escape, Qt::Key_Escape},
    {Key::tab, Qt::Key_Tab},        {Key::backspace, Qt::Key_Backspace},
    {Key::home, Qt::Key_Home},      {Key::end, Qt::Key_End},
    {Key::up, Qt::Key_Up},          {Key::down, Qt::Key_Down},
    {Key::page_up, Qt::Key_PageUp}, {Key::page_down, Qt::Key_PageDown},
};

Qt::Key native_key(Key key) {
  return std::ranges::find(kKeys, key, &KeyRow::key)->native;
}

// The native window that has the keyboard. A display may still be on its way with it to a new window.
QWindow& keyboard_window(const QWidget& window) {
  if (QWindow* const focus = QGuiApplication::focusWindow()) return *focus;
  const QWidget* const modal = QApplication::activeModalWidget();
  return *(modal != nullptr ? modal : &window)->windowHandle();
}

// Input goes to the native window, as from the system: the toolkit finds out who gets it.
void send_key(const QWidget& window, Qt::Key key, const QString& text) {
  for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, Qt::NoModifier, text);
    QCoreApplication::sendEvent(&keyboard_window(window), &event);
  }
}

// A click brings a window to the front, unless a box is in front of it.
void send_mouse(QWidget& window, QPoint at, QEvent::Type type) {
  QWidget* const modal = QApplication::activeModalWidget();
  if (modal != nullptr && modal != &window) return;
  if (!window.isActiveWindow() && QApplication::activePopupWidget() == nullptr) window.activateWindow();
  const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
  QMouseEvent event(type, at, window.mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
  QCoreApplication::sendEvent(window.windowHandle(), &event);
}

// Where a person clicks: on the mark of a check box, in the middle of everything else.
QPoint click_point(const QWidget& widget, ControlKind kind) {
  constexpr int kOnTheMark = 8;
  const bool has_mark = kind == ControlKind::check || kind == ControlKind::radio;
  return {has_mark ? kOnTheMark : widget.width() / 2, widget.height() / 2};
}

std::wstring text_of(const QWidget& widget) {
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
    return from_qstring(button->text().replace(QLatin1StringView("&&"), QLatin1StringView("&")));
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) return from_qstring(label->text());
  if (const auto* field = qobject_cast<const QLineEdit*>(&widget)) return from_qstring(field->text());
  if (const auto* choice = qobject_cast<const QComboBox*>(&widget)) {
    const bool chosen = choice->currentIndex() >= 0;
    return from_qstring(chosen ? choice->currentText() : choice->placeholderText());
  }
  return {};
}

// The box in front: one that the window waits for, or else one that stands beside it.
QDialog* front_dialog() {
  if (auto* const modal = qobject_cast<QDialog*>(QApplication::activeModalWidget())) return modal;
  for (QWidget* const other : QApplication::topLevelWidgets()) {
    auto* const dialog = qobject_cast<QDialog*>(other);
    if (dialog != nullptr && dialog->isVisible()) return dialog;
  }
  return nullptr;
}

QLineEdit& file_name_field(QFileDialog& dialog) {
  auto* const field = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  if (field == nullptr) throw Unreachable("The file dialog has no field for a name.");
  return *field;
}

QString notice_text(const QWidget& box) {
  if (const auto* message = qobject_cast<const QMessageBox*>(&box)) return message->text();
  if (const auto* text = box.findChild<QTextEdit*>()) return text->toPlainText();
  QStringList texts;
  for (const QLabel* label : box.findChildren<QLabel*>())
    texts << label->text();
  return texts.join(QLatin1Char('\n'));
}

// The window and what is in front of it, each where it stands.
QPixmap picture_of(QWidget& window) {
  QList<QWidget*> shown{&window};
  QRect area = window.geometry();
  for (QWidget* const other : QApplication::topLevelWidgets()) {
    if (other == &window || !other->isVisible()) continue;
    shown << other;
    area |= other->geometry();
  }
  QPixmap picture(area.size());
  picture.fill(Qt::darkGray);
  QPainter painter(&picture);
  for (QWidget* const one : shown)
    painter.drawPixmap(one->geometry().topLeft() - area.topLeft(), one->grab());
  return picture;
}

// The driver in Qt. Every action and every look is a call that the event loop makes, whichever loop runs.
class QtDriver final : public Driver {
 public:
  void watch(MainWindow& window) override {
    receiver_ = std::make_unique<Receiver>(*this, dynamic_cast<QtMainWindow&>(window));
    calls_.with([&](Calls& calls) { calls = {receiver_.get(), {}}; });
  }
  void forget() override {
    calls_.with([](Calls& calls) { calls = {}; });
    receiver_.reset();
  }

  void click(ControlId id) override {
    post_mouse(id, QEvent::MouseButtonPress);
    post_mouse(id, QEvent::MouseButtonRelease);
  }
  void double_click(ControlId id) override {
    click(id);
    post_mouse(id, QEvent::MouseButtonPress);
    post_mouse(id, QEvent::MouseButtonDblClick);
    post_mouse(id, QEvent::MouseButtonRelease);
  }
  void press(Key key) override {
    post([key](QtMainWindow& window) { send_key(window, native_key(key), {}); });
  }
  void type(std::wstring_view text) override {
    post([text = to_qstring(text)](QtMainWindow& window) {
      for (const QChar unit : text)
        send_key(window, Qt::Key_unknown, unit);
    });
  }
  void resize(Size client) override {
    post([client](QtMainWindow& window) { window.resize(client.width, client.height); });
  }
  // The toolkit takes the scale of a screen at its start; later on the desktop changes the font.
  void set_scale(int percent) override {
    post([percent](QtMainWindow&) {
      static const double kPoints = QApplication::font().pointSizeF();
      QFont font = QApplication::font();
      font.setPointSizeF(kPoints * percent / 100);
      QApplication::setFont(font);
    });
  }
  void close() override {
    post([](QtMainWindow& window) { window.close(); });
  }
  void answer_box(bool accept) override {
    post([accept](QtMainWindow& window) {
      QDialog* const dialog = front_dialog();
      if (dialog == nullptr) return;
      if (qobject_cast<QFileDialog*>(dialog) != nullptr && accept)
        return send_key(window, Qt::Key_Return, {});
      accept ? dialog->accept() : dialog->reject();
    });
  }
  void type_file_name(std::wstring_view name) override {
    post([name = to_qstring(name)](QtMainWindow& window) {
      auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
      if (dialog == nullptr) return;
      QLineEdit& field = file_name_field(*dialog);
      field.setFocus();
      field.selectAll();
      for (const QChar unit : name)
        send_key(window, Qt::Key_unknown, unit);
    });
  }
  void press_stale(ControlId id) override {
    post([id](QtMainWindow& window) {
      QWidget& widget = find(window, id);
      if (auto* const button = qobject_cast<QAbstractButton*>(&widget)) Q_EMIT button->clicked();
      if (auto* const field = qobject_cast<QLineEdit*>(&widget)) Q_EMIT field->returnPressed();
    });
  }

  Sight look(ControlId id) override {
    return ask<Sight>([id](QtMainWindow& window) {
      const QWidget& widget = find(window, id);
      const auto* const button = qobject_cast<const QAbstractButton*>(&widget);
      const bool checked = button != nullptr && button->isChecked();
      return Sight{widget.isVisible(), widget.isEnabled(), checked, text_of(widget)};
    });
  }
  Rect place(ControlId id) override {
    return ask<Rect>([id](QtMainWindow& window) {
      const QRect rect = find(window, id).geometry();
      return Rect{rect.x(), rect.y(), rect.width(), rect.height()};
    });
  }
  Size client_size() override {
    return ask<Size>([](QtMainWindow& window) { return Size{window.width(), window.height()}; });
  }
  std::wstring title() override {
    return ask<std::wstring>([](QtMainWindow& window) { return from_qstring(window.windowTitle()); });
  }
  bool has_keyboard(ControlId id) override {
    return ask<bool>([id](QtMainWindow& window) { return find(window, id).hasFocus(); });
  }
  bool list_is_open(ControlId id) override {
    return ask<bool>([id](QtMainWindow& window) {
      return dynamic_cast<QComboBox&>(find(window, id)).view()->isVisible();
    });
  }
  bool menu_is_open() override {
    return ask<bool>(
        [](QtMainWindow&) { return qobject_cast<QMenu*>(QApplication::activePopupWidget()) != nullptr; });
  }
  std::wstring received() override {
    return ask<std::wstring>([](QtMainWindow& window) { return view_of(window).held_text(); });
  }
  std::size_t first_visible_line() override {
    return ask<std::size_t>([](QtMainWindow& window) {
      return static_cast<std::size_t>(view_of(window).verticalScrollBar()->value());
    });
  }
  std::optional<Box> box() override {
    return ask<std::optional<Box>>([](QtMainWindow&) -> std::optional<Box> {
      QDialog* const modal = front_dialog();
      if (modal == nullptr) return std::nullopt;
      const std::wstring title = from_qstring(modal->windowTitle());
      if (auto* const dialog = qobject_cast<QFileDialog*>(modal))
        return Box{Box::Kind::file, title, from_qstring(file_name_field(*dialog).text())};
      return Box{Box::Kind::notice, title, from_qstring(notice_text(*modal))};
    });
  }
  void take_picture(const std::filesystem::path& file) override {
    const bool saved = ask<bool>([file](QtMainWindow& window) {
      return picture_of(window).save(QString::fromStdString(file.string()), "PNG");
    });
    if (!saved) throw Unreachable("The picture could not be saved.");
  }

 private:
  static QWidget& find(QtMainWindow& window, ControlId id) {
    const std::string_view name = control(id).name;
    auto* const widget = window.findChild<QWidget*>(QLatin1StringView(name.data(), name.size()));
    if (widget == nullptr) throw Unreachable("A control is missing.");
    return *widget;
  }
  static ReceiveViewWidget& view_of(QtMainWindow& window) {
    return dynamic_cast<ReceiveViewWidget&>(find(window, ControlId::receive_view));
  }

  // A call that the window's end does away with.
  void post(std::function<void(QtMainWindow&)> call) {
    calls_.with([&](Calls& calls) {
      if (calls.receiver == nullptr) throw Unreachable("The window is not there.");
      calls.waiting.push_back(std::move(call));
      QCoreApplication::postEvent(calls.receiver, new QEvent(Receiver::kType));
    });
  }

  void post_mouse(ControlId id, QEvent::Type type) {
    post([id, type](QtMainWindow& window) {
      QWidget& widget = find(window, id);
      if (!widget.isVisible()) return;
      send_mouse(window, widget.mapTo(&window, click_point(widget, control(id).kind)), type);
    });
  }

  template <typename Answer>
  struct Question {
    std::mutex mutex;
    std::condition_variable answered;
    std::optional<Answer> answer;
  };

  template <typename Answer>
  Answer ask(std::function<Answer(QtMainWindow&)> look) {
    const auto question = std::make_shared<Question<Answer>>();
    post([question, look = std::move(look)](QtMainWindow& window) {
      Answer answer = look(window);
      const std::lock_guard lock(question->mutex);
      question->answer = std::move(answer);
      question->answered.notify_all();
    });
    std::unique_lock lock(question->mutex);
    if (!question->answered.wait_for(lock, kPatience, [&] { return question->answer.has_value(); }))
      throw Unreachable("The window does not react.");
    return *std::move(question->answer);
  }

  // On the interface thread: makes the calls that wait, one for each event.
  class Receiver final : public QObject {
   public:
    static constexpr auto kType = static_cast<QEvent::Type>(QEvent::User + 1);
    Receiver(QtDriver& driver, QtMainWindow& window) : driver_(driver), window_(window) {}

    bool event(QEvent* event) override {
      if (event->type() != kType) return QObject::event(event);
      const auto call = driver_.calls_.with([](Calls& calls) {
        auto first = std::move(calls.waiting.front());
        calls.waiting.pop_front();
        return first;
      });
      call(window_);
      return true;
    }

   private:
    QtDriver& driver_;
    QtMainWindow& window_;
  };
  struct Calls {
    Receiver* receiver = nullptr;
    std::deque<std::function<void(QtMainWindow&)>> waiting;
  };

  Guarded<Calls> calls_;
  std::unique_ptr<Receiver> receiver_;
};

}  // namespace

// The display without a screen has been chosen before the application object was made.
std::unique_ptr<Driver> create_driver() {
  QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  return std::make_unique<QtDriver>();
}

}  // namespace hvt::self_test
