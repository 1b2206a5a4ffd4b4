#include "platform/DesktopNotifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QVariantMap>
#include <algorithm>

#include "support/URLText.h"

namespace vorn {

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
// The action a click on the notification's body invokes.
const QString kDefaultAction = QStringLiteral("default");
const QString kLinkHint = QStringLiteral("x-vorn-url");
// Left to the service: it knows how long its person wants them shown.
constexpr int kServerDefaultExpiry = -1;

QUrl openableLink(const std::optional<std::string>& url) {
    if (!url || !URLText::isAbsoluteURL(*url)) return {};
    QUrl link(QString::fromStdString(*url), QUrl::StrictMode);
    return link.isValid() ? link : QUrl();
}

QDBusMessage notifyCall(uint replaces, const std::string& title, const std::string& body,
                        const QUrl& link) {
    // Without a link there is nothing for a click to do, so no action. The
    // link rides along as a hint of our own, for whoever looks at the
    // notification; a click is answered from our own table, as the service
    // tells only which notification and action it was.
    QStringList actions;
    QVariantMap hints;
    if (!link.isEmpty()) {
        actions = QStringList{kDefaultAction, QStringLiteral("Open")};
        hints.insert(kLinkHint, link.toString());
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    call << QStringLiteral("Vorn") << replaces << QString() << QString::fromStdString(title)
         << QString::fromStdString(body) << actions << hints << kServerDefaultExpiry;
    return call;
}

}  // namespace

DesktopNotifier::DesktopNotifier(QDBusConnection bus, OpenURL openURL, QObject* parent)
    : QObject(parent), bus(std::move(bus)), openURL(std::move(openURL)) {
    this->bus.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this,
                      SLOT(actionInvoked(uint, QString)));
    this->bus.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                      SLOT(notificationClosed(uint, uint)));
}

void DesktopNotifier::setFallback(Fallback fallback) {
    this->fallback = std::move(fallback);
}

void DesktopNotifier::openWithDesktop(const QUrl& url) {
    QDesktopServices::openUrl(url);
}

void DesktopNotifier::post(const std::string& identifier, const std::string& title,
                           const std::string& body, const std::optional<std::string>& url) {
    const QUrl link = openableLink(url);
    const auto onScreen = shownByIdentifier.find(identifier);
    const uint replaces = onScreen == shownByIdentifier.end() ? 0 : onScreen->second;

    // Asynchronous: the main thread never waits on the service.
    auto* watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(notifyCall(replaces, title, body, link)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, identifier, title, body, link](QDBusPendingCallWatcher* finished) {
                const QDBusPendingReply<uint> reply = *finished;
                finished->deleteLater();
                if (reply.isError()) {
                    if (fallback) fallback(title, body);
                    return;
                }
                shown(identifier, reply.value(), link);
            });
}

void DesktopNotifier::shown(const std::string& identifier, uint notification, const QUrl& link) {
    const auto previous = shownByIdentifier.find(identifier);
    if (previous != shownByIdentifier.end() && previous->second != notification) {
        linkByNotification.erase(previous->second);
    }
    shownByIdentifier[identifier] = notification;
    if (link.isEmpty()) {
        linkByNotification.erase(notification);
    } else {
        linkByNotification[notification] = link;
    }
}

void DesktopNotifier::actionInvoked(uint notification, const QString& action) {
    if (action != kDefaultAction) return;
    const auto link = linkByNotification.find(notification);
    if (link != linkByNotification.end()) openURL(link->second);
}

void DesktopNotifier::notificationClosed(uint notification, uint /*reason*/) {
    linkByNotification.erase(notification);
    std::erase_if(shownByIdentifier,
                  [notification](const auto& entry) { return entry.second == notification; });
}

}  // namespace vorn
