#pragma once

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QObject>
#include <functional>
#include <memory>
#include <optional>

namespace hvt {

// Whether the desktop wants programs dark: what its settings portal says, else how dark its own colours are.
//
// Promises  asks without waiting; a desktop without a bus or a portal costs nothing and is no error.
// `changed`
//           is called when prefers_dark() gives something else than before.
// Threads   the interface thread.
// Owns      its subscription on the bus.
// Ends      with the object; an answer that is still to come is dropped.
class DesktopAppearance final : public QObject {
  Q_OBJECT

 public:
  // `dark_colors`: the colours of the desktop are dark.
  explicit DesktopAppearance(bool dark_colors);
  // As often as wanted; the last one counts.
  void on_changed(std::function<void()> changed) { changed_ = std::move(changed); }

  // Where the session has a bus; nothing else.
  void ask_session();
  void ask(const QDBusConnection& bus);

  bool prefers_dark() const;

 private Q_SLOTS:
  void setting_changed(const QString& group, const QString& key, const QDBusVariant& value);

 private:
  void read(const QVariant& value);

  const bool dark_colors_;
  std::optional<bool> portal_prefers_dark_;
  std::unique_ptr<QDBusPendingCallWatcher> question_;
  std::function<void()> changed_;
};

}  // namespace hvt
