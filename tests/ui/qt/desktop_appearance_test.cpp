// Risk: a desktop that is dark, or turns dark, and a program that does not notice; a start that waits for a
// bus.

#include "ui/qt/desktop_appearance.h"

#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

namespace hvt {
namespace {

constexpr auto kPath = "/org/freedesktop/portal/desktop";
constexpr auto kSettings = "org.freedesktop.portal.Settings";
constexpr auto kService = "org.freedesktop.portal.Desktop";

// The settings portal of a desktop, as far as it is asked.
class Portal final : public QDBusVirtualObject {
 public:
  explicit Portal(unsigned scheme) : scheme_(scheme) {}

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& question, const QDBusConnection& bus) override {
    asked_ = question.arguments();
    // The portal wraps the value twice, for historical reasons.
    const QVariant value = QVariant::fromValue(QDBusVariant(scheme_));
    return bus.send(question.createReply(QVariant::fromValue(QDBusVariant(value))));
  }

  QVariantList asked() const { return asked_; }

 private:
  const unsigned scheme_;
  QVariantList asked_;
};

// A session bus of our own.
class Bus : public testing::Test {
 protected:
  void SetUp() override {
    const QString program = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    if (program.isEmpty()) GTEST_SKIP() << "no dbus-daemon";
    daemon_.start(program, {QStringLiteral("--session"), QStringLiteral("--nofork"),
                            QStringLiteral("--print-address")});
    ASSERT_TRUE(daemon_.waitForReadyRead());
    address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    desktop_bus_ = QDBusConnection::connectToBus(address_, QStringLiteral("desktop"));
    program_bus_ = QDBusConnection::connectToBus(address_, QStringLiteral("program"));
    ASSERT_TRUE(desktop_bus_.isConnected() && program_bus_.isConnected());
  }
  ~Bus() override {
    for (const auto* const name : {"desktop", "program"})
      QDBusConnection::disconnectFromBus(QString::fromLatin1(name));
    daemon_.terminate();
    daemon_.waitForFinished();
  }

  void offer(Portal& portal) {
    ASSERT_TRUE(desktop_bus_.registerVirtualObject(QString::fromLatin1(kPath), &portal));
    ASSERT_TRUE(desktop_bus_.registerService(QString::fromLatin1(kService)));
  }
  void tell(const char* key, unsigned scheme) {
    QDBusMessage signal = QDBusMessage::createSignal(
        QString::fromLatin1(kPath), QString::fromLatin1(kSettings), QStringLiteral("SettingChanged"));
    signal << QStringLiteral("org.freedesktop.appearance") << QString::fromLatin1(key)
           << QVariant::fromValue(QDBusVariant(scheme));
    ASSERT_TRUE(desktop_bus_.send(signal));
  }

  QProcess daemon_;
  QString address_;
  QDBusConnection desktop_bus_{QString()};
  QDBusConnection program_bus_{QString()};
};

TEST_F(Bus, tells_what_the_desktop_wants_and_when_it_changes_its_mind) {
  Portal portal(1);
  offer(portal);
  DesktopAppearance desktop(false);
  int changes = 0;
  desktop.on_changed([&] { ++changes; });
  desktop.ask(program_bus_);
  EXPECT_FALSE(desktop.prefers_dark()) << "nothing waits for the answer";
  ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 1; }));
  EXPECT_TRUE(desktop.prefers_dark());
  EXPECT_EQ(portal.asked(),
            (QVariantList{QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme")}));

  tell("accent-color", 2);
  tell("color-scheme", 1);
  tell("color-scheme", 2);
  ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 2; }));
  EXPECT_FALSE(desktop.prefers_dark());
  tell("color-scheme", 0);
  tell("color-scheme", 1);
  ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 3; }));
  EXPECT_TRUE(desktop.prefers_dark());
}

TEST_F(Bus, goes_by_the_desktops_colours_where_no_portal_answers) {
  DesktopAppearance desktop(true);
  int changes = 0;
  desktop.on_changed([&] { ++changes; });
  desktop.ask(program_bus_);
  desktop.ask(QDBusConnection(QStringLiteral("no such bus")));
  Portal portal(0);
  offer(portal);
  tell("color-scheme", 0);
  tell("color-scheme", 2);
  ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 1; }));
  EXPECT_FALSE(desktop.prefers_dark());
  tell("color-scheme", 0);
  ASSERT_TRUE(QTest::qWaitFor([&] { return changes == 2; }));
  EXPECT_TRUE(desktop.prefers_dark()) << "no preference";
}

}  // namespace
}  // namespace hvt
