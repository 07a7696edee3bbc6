// Risk: the parts work and the whole does not. The real window, clicked and typed into, on a real serial
// line: a pseudo-terminal whose far end the test is.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTimer>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/qt/windowed_program.h"
#include "tests/support/folder.h"
#include "tests/support/pty.h"

namespace hvt {
namespace {

// A serial line whose far end the test is, and the folder of the programs at its near end.
struct Line {
  std::vector<PortDescription> ports() const { return {{device->port(), L""}}; }
  void device_sends(const std::string& text) {
    ASSERT_EQ(device->send(std::vector<std::uint8_t>(text.begin(), text.end())), text.size());
  }
  std::string device_receives(std::size_t count) {
    const auto bytes = device->receive(count);
    return {bytes.begin(), bytes.end()};
  }

  std::unique_ptr<test::Pty> device = std::make_unique<test::Pty>();
  const test::Folder folder;
};

struct Window : testing::Test, Line, test::WindowedProgram {
  Window() : WindowedProgram(folder.path(), [this] { return ports(); }) {}

  using WindowedProgram::caption;
  QString caption() { return caption(ControlId::connect); }
  // All of the receive view, as a person would get it: select all, copy.
  QString received() {
    QTest::keyClick(&find(ControlId::receive_view), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&find(ControlId::receive_view), Qt::Key_C, Qt::ControlModifier);
    return QApplication::clipboard()->text();
  }
  void connect() {
    click(ControlId::connect);
    ASSERT_TRUE(QTest::qWaitFor([&] { return caption() == "Connected"; })) << status().toStdString();
  }
  bool status_becomes(const QString& text) {
    const bool became = QTest::qWaitFor([&] { return status() == text; });
    if (!became) ADD_FAILURE() << "the status says: " << status().toStdString();
    return became;
  }
  // How long a response took is shown as "[t ms]".
  bool shows(const QString& text) {
    static const QRegularExpression kElapsed(R"(\[\d+\.\d ms\])");
    const bool shown = QTest::qWaitFor([&] { return received().replace(kElapsed, "[t ms]") == text; });
    if (!shown) ADD_FAILURE() << "the receive view shows: " << received().toStdString();
    return shown;
  }
  void open_transmit(const QString& packet) {
    click(ControlId::transmit);
    type(packet_field(0), packet);
  }
  void replace(ControlId id, const QString& text) {
    find<QLineEdit>(id).setFocus();
    find<QLineEdit>(id).selectAll();
    type(id, text);
  }
};

TEST_F(Window, SendsAndReceives) {
  click(ControlId::line_break);
  open_transmit("ID?");
  click(ControlId::auto_crlf);
  connect();
  QTest::keyClick(&find(packet_field(0)), Qt::Key_Return);
  EXPECT_EQ(device_receives(5), "ID?\r\n");
  device_sends("v1\x01\xAB\r\n");
  EXPECT_TRUE(shows("[TX] ID?<CR><LF> [t ms]\n[RX] v1<SOH><0xAB><CR><LF>\n"));

  click(ControlId::clear);
  click(ControlId::receive_hex);
  click(ControlId::send_hex);
  type(packet_field(1), "00ff");
  EXPECT_EQ(find<QLineEdit>(packet_field(1)).text(), "00 FF");
  click(send_button(1));
  EXPECT_EQ(device_receives(4), std::string("\x00\xFF\r\n", 4));
  device_sends("\x7F\x80");
  EXPECT_TRUE(shows("[TX] 00 FF 0D 0A [t ms]\n[RX] 7F 80"));
  click(ControlId::connect);
  EXPECT_EQ(status(), "Disconnected");
  EXPECT_EQ(caption(), "Connect");
}

TEST_F(Window, RepeatsAndTellsWhatBecameOfEachPacket) {
  open_transmit("PING");
  replace(ControlId::repeat_count, "2");
  replace(ControlId::interval, "0");
  replace(ControlId::rx_timeout, "300");
  connect();
  click(ControlId::repeat);
  EXPECT_EQ(device_receives(4), "PING");
  EXPECT_EQ(caption(ControlId::repeat), "Stop");
  EXPECT_FALSE(find(packet_field(0)).isEnabled());
  device_sends("PONG");
  EXPECT_EQ(device_receives(4), "PING");
  const QString first = "-------------------- Repeat 1/2 --------------------\n[TX] PING [t ms]\n[RX] PONG\n";
  const QString second = "-------------------- Repeat 2/2 --------------------\n[TX] PING [TIMEOUT]";
  EXPECT_TRUE(shows(first + second));
  device_sends("PONG");
  EXPECT_TRUE(shows(first + second + " [LATE]\n[RX] PONG"));
  EXPECT_EQ(caption(ControlId::repeat), "Repeat Send");
  EXPECT_TRUE(find(packet_field(0)).isEnabled());
}

// A line for each control: what a person sees of it.
std::vector<QString> seen(const QtMainWindow& window) {
  std::vector<QString> lines;
  for (const ControlRow& row : kControls) {
    const QString name = QString::fromStdString(std::string(row.name));
    const QWidget& widget = *window.findChild<QWidget*>(name);
    QString line =
        name + (widget.isVisibleTo(&window) ? " shown" : " hidden") + (widget.isEnabled() ? " " : " off ");
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
      line += button->isChecked() ? "x" : "-";
    if (const auto* choice = qobject_cast<const QComboBox*>(&widget)) line += choice->currentText();
    if (const auto* field = qobject_cast<const QLineEdit*>(&widget)) line += field->text();
    lines.push_back(line);
  }
  return lines;
}

TEST_F(Window, IsAsItWasLeftTheNextTime) {
  click(ControlId::transmit);
  const auto first = seen(window);
  for (const ControlId id : {ControlId::line_break, ControlId::hide_crlf, ControlId::echo_sent,
                             ControlId::receive_hex, ControlId::send_hex, ControlId::auto_crlf,
                             ControlId::wait_for_rx, ControlId::display_while_recording})
    click(id);
  for (const ControlRow& row : kControls) {
    if (row.kind == ControlKind::choice && row.id != ControlId::port) {
      auto& choice = find<QComboBox>(row.id);
      choice.setFocus();
      QTest::keyClick(&choice, choice.currentIndex() == 0 ? Qt::Key_End : Qt::Key_Home);
    } else if (row.kind == ControlKind::number_edit || row.kind == ControlKind::packet_edit) {
      type(row.id, "42");
    }
  }
  window.move(30, 10);
  window.resize(720, 770);
  const auto left = seen(window);
  for (const ControlRow& row : kControls) {
    const bool was_changed = row.kind == ControlKind::choice || row.kind == ControlKind::check ||
                             row.kind == ControlKind::number_edit || row.kind == ControlKind::packet_edit;
    if (!was_changed || row.id == ControlId::port || row.id == ControlId::transmit) continue;
    EXPECT_NE(left[index_of(row.id)], first[index_of(row.id)]) << row.name;
  }
  const QRect place = window.geometry();
  window.close();

  WindowedProgram again(folder.path(), [this] { return ports(); });
  EXPECT_EQ(seen(again.window), left);
  EXPECT_EQ(again.window.geometry(), place);
}

TEST_F(Window, ComesBackMaximizedWithTheSizeItHadBefore) {
  window.move(30, 10);
  window.resize(720, 770);
  const QRect place = window.geometry();
  window.showMaximized();
  ASSERT_TRUE(QTest::qWaitFor([&] { return window.geometry() != place; }));
  window.close();

  WindowedProgram again(folder.path(), [this] { return ports(); });
  EXPECT_TRUE(again.window.isMaximized());
  again.window.showNormal();
  EXPECT_EQ(again.window.geometry(), place);
}

TEST_F(Window, SavesAndLoadsPacketsThroughTheDialog) {
  open_transmit("saved");
  const auto answer = [this](ControlId id, const QString& name) {
    QStringList seen;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
      auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
      if (dialog == nullptr || !seen.isEmpty()) return;
      seen << dialog->windowTitle() << dialog->directory().dirName() << dialog->nameFilters();
      auto& field = *dialog->findChild<QLineEdit*>("fileNameEdit");
      seen << field.text();
      field.setText(name);
      QTest::keyClick(&field, Qt::Key_Return);
      if (dialog->isVisible()) dialog->reject();  // it did not like the name
    });
    QTimer contradict;  // of a box about the name, in which the dialog waits
    QObject::connect(&contradict, &QTimer::timeout, [] {
      if (auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) box->reject();
    });
    look.start(1);
    contradict.start(1);
    click(id);
    return seen.join("|");
  };
  const QString types = "|send data|Serial send preset (*.json) (*.json)|All files (*.*) (*)|";
  EXPECT_EQ(answer(ControlId::save_packets, "mine"),
            "Save send data file" + types + "serial-send-presets-01.json");
  const auto presets = folder.path() / "send data";
  std::filesystem::rename(presets / "mine.json", presets / "no full stop");
  type(packet_field(0), " no more");
  EXPECT_EQ(answer(ControlId::load_packets, "no full stop"), "Load send data file" + types);
  EXPECT_EQ(find<QLineEdit>(packet_field(0)).text(), "saved");
}

TEST_F(Window, SurvivesAnUnplugAndConnectsAgain) {
  connect();
  device_sends("before");
  EXPECT_TRUE(shows("before"));
  device->unplug();
  EXPECT_TRUE(status_becomes("The serial device was removed."));
  EXPECT_EQ(caption(), "Connect");
  device = std::make_unique<test::Pty>();
  click(ControlId::refresh);
  // The port may have another name now; the old one is still listed, because it was in use.
  auto& ports = find<QComboBox>(ControlId::port);
  const int row = ports.findText(QString::fromStdString(device->path()));
  ports.setFocus();
  QTest::keyClick(&ports, Qt::Key_Home);
  for (int i = 0; i < row; ++i)
    QTest::keyClick(&ports, Qt::Key_Down);
  ASSERT_EQ(ports.currentIndex(), row);
  ASSERT_TRUE(QTest::qWaitFor([&] {  // the reader of the lost connection may still be leaving
    if (caption() == "Connect") click(ControlId::connect);
    return caption() == "Connected";
  }));
  device_sends(" and after");
  EXPECT_TRUE(shows("before and after"));
}

TEST_F(Window, StaysUsableWhileADeviceTakesNothing) {
  open_transmit("<0xFF>");
  type(packet_field(0), QString("x").repeated(1400));
  connect();
  // The device never reads: the line fills up, then a write ends after its half second.
  const auto full = [&] {
    click(send_button(0));
    return status() == "Serial write exceeded 500 ms.";
  };
  ASSERT_TRUE(QTest::qWaitFor(full, 20'000)) << status().toStdString();
  EXPECT_EQ(caption(), "Connect");  // what was queued behind it is gone with the connection
  connect();
  device_sends("still here");
  EXPECT_TRUE(QTest::qWaitFor([&] { return received().endsWith("[RX] still here"); }));
  click(send_button(0));      // the line is still full
  click(ControlId::connect);  // in the middle of a blocked write
  EXPECT_EQ(caption(), "Connect");
  EXPECT_EQ(status(), "Disconnected");
}

}  // namespace
}  // namespace hvt
