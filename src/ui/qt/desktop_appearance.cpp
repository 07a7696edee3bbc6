#include "ui/qt/desktop_appearance.h"

#include <QDBusMessage>
#include <QDBusPendingReply>

namespace hvt {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");

// The values that the portal defines; any other one is no preference.
constexpr unsigned kPrefersDark = 1;
constexpr unsigned kPrefersLight = 2;

// Portals wrap the value once or twice.
QVariant unwrapped(QVariant value) {
  while (value.canConvert<QDBusVariant>())
    value = value.value<QDBusVariant>().variant();
  return value;
}

}  // namespace

DesktopAppearance::DesktopAppearance(bool dark_colors) : dark_colors_(dark_colors) {}

// The bus library would otherwise start one of its own.
void DesktopAppearance::ask_session() {
  if (qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS")) ask(QDBusConnection::sessionBus());
}

void DesktopAppearance::ask(const QDBusConnection& session) {
  QDBusConnection bus = session;
  if (!bus.isConnected()) return;
  qRegisterMetaType<QDBusVariant>();  // the bus library looks for the slot's types by their names
  // From whoever says so: to know one sender's present address the bus library would wait for the bus.
  bus.connect(QString(), kPath, kInterface, QStringLiteral("SettingChanged"), this,
              SLOT(setting_changed(QString, QString, QDBusVariant)));
  QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
  question << kGroup << kKey;
  question_ = std::make_unique<QDBusPendingCallWatcher>(bus.asyncCall(question));
  connect(question_.get(), &QDBusPendingCallWatcher::finished, this, [this] {
    const QDBusPendingReply<QDBusVariant> answer = *question_;
    if (answer.isValid()) read(QVariant::fromValue(answer.value()));
  });
}

bool DesktopAppearance::prefers_dark() const {
  return portal_prefers_dark_.value_or(dark_colors_);
}

void DesktopAppearance::setting_changed(const QString& group, const QString& key, const QDBusVariant& value) {
  if (group == kGroup && key == kKey) read(value.variant());
}

void DesktopAppearance::read(const QVariant& value) {
  const bool before = prefers_dark();
  const unsigned scheme = unwrapped(value).toUInt();
  portal_prefers_dark_.reset();
  if (scheme == kPrefersDark || scheme == kPrefersLight) portal_prefers_dark_ = scheme == kPrefersDark;
  if (prefers_dark() != before && changed_) changed_();
}

}  // namespace hvt
