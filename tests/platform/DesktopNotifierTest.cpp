#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDeadlineTimer>
#include <QDesktopServices>
#include <QProcess>
#include <QUrl>
#include <functional>
#include <vector>

#include "platform/DesktopNotifier.h"

namespace vorn {
namespace {

// D-Bus needs an application object for the whole process, and one that
// stays: the bus's own thread outlives every test.
void ensureApplication() {
    if (QCoreApplication::instance()) return;
    static int argc = 1;
    static char name[] = "vorn_platform_tests";
    static char* argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);
}

bool waitUntil(const std::function<bool()>& condition) {
    QDeadlineTimer deadline(10'000);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

// A session bus of the test's own, so nothing reaches the person's desktop.
class SessionBus {
  public:
    SessionBus() {
        daemon.start(QStringLiteral("/usr/bin/dbus-daemon"),
                     {QStringLiteral("--session"), QStringLiteral("--nofork"),
                      QStringLiteral("--print-address")});
        QDeadlineTimer deadline(10'000);
        while (!daemon.canReadLine() && !deadline.hasExpired()) {
            daemon.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
        }
        address = QString::fromUtf8(daemon.readLine()).trimmed();
    }
    ~SessionBus() {
        daemon.terminate();
        if (!daemon.waitForFinished(5000)) {
            daemon.kill();
            daemon.waitForFinished(5000);
        }
    }

    QDBusConnection connect(const QString& name) const {
        return QDBusConnection::connectToBus(address, name);
    }

    QString address;

  private:
    QProcess daemon;
};

// Stands for the desktop's notification service: it owns the service's
// name on the bus, keeps what it is sent, and can click.
class NotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

  public:
    struct Received {
        QString appName;
        uint replacesId = 0;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        uint id = 0;
    };

    std::vector<Received> received;

    void click(uint id, const QString& action) { emit ActionInvoked(id, action); }
    void close(uint id) { emit NotificationClosed(id, 2); }

  public slots:
    uint Notify(const QString& appName, uint replacesId, const QString& /*appIcon*/,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int /*expireTimeout*/) {
        const uint id = replacesId != 0 ? replacesId : ++lastId;
        received.push_back({appName, replacesId, summary, body, actions, hints, id});
        return id;
    }
    QStringList GetCapabilities() { return {QStringLiteral("actions"), QStringLiteral("body")}; }
    void CloseNotification(uint id) { close(id); }

  signals:
    void ActionInvoked(uint id, const QString& action_key);
    void NotificationClosed(uint id, uint reason);

  private:
    uint lastId = 0;
};

// Receives what the desktop is asked to open, in place of a browser.
class LinkReceiver : public QObject {
    Q_OBJECT

  public:
    std::vector<QUrl> opened;

  public slots:
    void open(const QUrl& url) { opened.push_back(url); }
};

class DesktopNotifierOnABus : public ::testing::Test {
  protected:
    void SetUp() override {
        ensureApplication();
        ASSERT_FALSE(bus.address.isEmpty()) << "dbus-daemon gave no address";
        ASSERT_TRUE(serverSide.isConnected()) << serverSide.lastError().message().toStdString();
        ASSERT_TRUE(serverSide.registerObject(
            QStringLiteral("/org/freedesktop/Notifications"), &server,
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        ASSERT_TRUE(serverSide.registerService(QStringLiteral("org.freedesktop.Notifications")));
        ASSERT_TRUE(clientSide.isConnected());
        // The desktop's real opener, with links of this kind handed to us.
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &links, "open");
    }
    void TearDown() override {
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        QDBusConnection::disconnectFromBus(clientSide.name());
        QDBusConnection::disconnectFromBus(serverSide.name());
    }

    bool receivedCount(size_t count) {
        return waitUntil([&] { return server.received.size() >= count; });
    }
    // A call from the client to the server and its answer: the server sends
    // in order, so whatever it sent the client before is delivered then.
    void settle() {
        const QDBusPendingCall answer = clientSide.asyncCall(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"),
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("GetCapabilities")));
        ASSERT_TRUE(waitUntil([&] { return answer.isFinished(); }));
        QCoreApplication::processEvents();
    }

    SessionBus bus;
    QDBusConnection serverSide = bus.connect(QStringLiteral("notification-server"));
    QDBusConnection clientSide = bus.connect(QStringLiteral("notifier"));
    NotificationServer server;
    LinkReceiver links;
};

TEST_F(DesktopNotifierOnABus, ANotificationArrivesWithItsLinkAndAClickOpensIt) {
    DesktopNotifier notifier(clientSide);
    notifier.post("8C2E", "ENG-42 needs you: review", "Fix the login page",
                  "https://tracker.example/ENG-42?tab=1");
    ASSERT_TRUE(receivedCount(1));
    const auto& arrived = server.received[0];
    EXPECT_EQ(arrived.appName, "Vorn");
    EXPECT_EQ(arrived.replacesId, 0u);
    EXPECT_EQ(arrived.summary, "ENG-42 needs you: review");
    EXPECT_EQ(arrived.body, "Fix the login page");
    EXPECT_EQ(arrived.hints.value("x-vorn-url").toString(), "https://tracker.example/ENG-42?tab=1");
    EXPECT_TRUE(arrived.actions.contains("default"));

    // The reply must be in before the click can be matched to it.
    settle();
    server.click(arrived.id, QStringLiteral("default"));
    ASSERT_TRUE(waitUntil([&] { return !links.opened.empty(); }));
    EXPECT_EQ(links.opened, std::vector{QUrl("https://tracker.example/ENG-42?tab=1")});

    // Another action, or another notification's number, opens nothing.
    server.click(arrived.id, QStringLiteral("dismiss"));
    server.click(arrived.id + 100, QStringLiteral("default"));
    settle();
    EXPECT_EQ(links.opened.size(), 1u);
}

TEST_F(DesktopNotifierOnABus, TheSameIdentifierReplacesWhatIsOnScreenUntilItCloses) {
    DesktopNotifier notifier(clientSide);
    notifier.post("error|poll failed", "Vorn: poll failed", "boom", std::nullopt);
    ASSERT_TRUE(receivedCount(1));
    settle();
    notifier.post("error|poll failed", "Vorn: poll failed", "\u00d72 since 14:05", std::nullopt);
    notifier.post("tracker-unreachable", "Vorn: tracker unreachable", "poll since 14:05",
                  std::nullopt);
    ASSERT_TRUE(receivedCount(3));
    EXPECT_EQ(server.received[1].replacesId, server.received[0].id);
    EXPECT_EQ(server.received[1].body, "\u00d72 since 14:05");
    EXPECT_EQ(server.received[2].replacesId, 0u);

    settle();
    server.close(server.received[0].id);
    settle();
    notifier.post("error|poll failed", "Vorn: poll failed", "\u00d73 since 14:05", std::nullopt);
    ASSERT_TRUE(receivedCount(4));
    EXPECT_EQ(server.received[3].replacesId, 0u);
}

TEST_F(DesktopNotifierOnABus, WithoutAnOpenableLinkThereIsNothingToClick) {
    DesktopNotifier notifier(clientSide);
    notifier.post("A1", "Toolchain fallback", "seat dev falls back", "not a link");
    notifier.post("A2", "Ship needs attention: Disk low", "2 GB left", std::nullopt);
    ASSERT_TRUE(receivedCount(2));
    for (const auto& arrived : server.received) {
        EXPECT_TRUE(arrived.actions.isEmpty());
        EXPECT_FALSE(arrived.hints.contains("x-vorn-url"));
    }
    settle();
    server.click(server.received[0].id, QStringLiteral("default"));
    settle();
    EXPECT_TRUE(links.opened.empty());
}

TEST_F(DesktopNotifierOnABus, WithNoServiceTheFallbackShowsIt) {
    serverSide.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
    DesktopNotifier notifier(clientSide);
    std::vector<std::pair<std::string, std::string>> shown;
    notifier.setFallback([&](const std::string& title, const std::string& body) {
        shown.emplace_back(title, body);
    });
    notifier.post("B", "Vorn: released", "ENG-42 released", std::nullopt);
    ASSERT_TRUE(waitUntil([&] { return !shown.empty(); }));
    EXPECT_EQ(shown[0],
              std::make_pair(std::string("Vorn: released"), std::string("ENG-42 released")));
    EXPECT_TRUE(server.received.empty());
}

}  // namespace
}  // namespace vorn

#include "DesktopNotifierTest.moc"
