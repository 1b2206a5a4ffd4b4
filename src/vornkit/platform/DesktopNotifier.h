#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QUrl>
#include <functional>
#include <map>
#include <string>

#include "platform/Notifier.h"

namespace vorn {

// Notifications through the desktop's notification service on the session
// bus (org.freedesktop.Notifications). A notification with a link gets the
// service's default action, which a click on it invokes; the link is then
// opened. Lives on the thread of the event loop that delivers the replies and
// the clicks, the main thread in the application.
class DesktopNotifier final : public QObject, public Notifier {
    Q_OBJECT

  public:
    using OpenURL = std::function<void(const QUrl&)>;
    // What to do instead when no notification service answers.
    using Fallback = std::function<void(const std::string& title, const std::string& body)>;

    explicit DesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus(),
                             OpenURL openURL = &openWithDesktop, QObject* parent = nullptr);

    void post(const std::string& identifier, const std::string& title, const std::string& body,
              const std::optional<std::string>& url) override;

    void setFallback(Fallback fallback);

    // Hands the link to the desktop: the browser, or whatever is set up to
    // open links of its kind.
    static void openWithDesktop(const QUrl& url);

  private slots:
    void actionInvoked(uint notification, const QString& action);
    void notificationClosed(uint notification, uint reason);

  private:
    void shown(const std::string& identifier, uint notification, const QUrl& link);

    QDBusConnection bus;
    OpenURL openURL;
    Fallback fallback;
    // The service's number for what is on screen under each identifier, so a
    // later post replaces it; and the link of each notification that has one.
    std::map<std::string, uint> shownByIdentifier;
    std::map<uint, QUrl> linkByNotification;
};

}  // namespace vorn
