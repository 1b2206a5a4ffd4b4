#include "platform/Preferences.h"

#include <QDateTime>
#include <QStringList>
#include <QVariantMap>

#include "platform/SettingsPreferenceStore.h"
#include "support/HomeFolder.h"

namespace vorn {

namespace {

namespace Key {
const QString showTicketInMenuBar = QStringLiteral("showTicketInMenuBar");
const QString notifyOnRelease = QStringLiteral("notifyOnRelease");
const QString notifyOnFailure = QStringLiteral("notifyOnFailure");
const QString notifyOnAttention = QStringLiteral("notifyOnAttention");
const QString notifyOnTrackerDown = QStringLiteral("notifyOnTrackerDown");
const QString notifyOnVornUpdate = QStringLiteral("notifyOnVornUpdate");
const QString spinOnHandover = QStringLiteral("spinOnHandover");
const QString configPath = QStringLiteral("configPath");
const QString vornHomePath = QStringLiteral("vornHomePath");
const QString preferredRoute = QStringLiteral("preferredRoute");
const QString bundledInstallSummary = QStringLiteral("bundledInstallSummary");
const QString vornUpdateCheckedAt = QStringLiteral("vornUpdateCheckedAt");
const QString vornUpdateAnnounced = QStringLiteral("vornUpdateAnnounced");
const QString attentionNotifiedThrough = QStringLiteral("attentionNotifiedThrough");
const QString shipAttentionAnnounced = QStringLiteral("shipAttentionAnnounced");
const QString shipNameNotice = QStringLiteral("shipNameNotice");
const QString locatedTools = QStringLiteral("locatedTools");
const QString debugLogging = QStringLiteral("debugLogging");
}  // namespace Key

using Milliseconds = std::chrono::milliseconds;

// Dates are kept to the millisecond, as the log writes them.
QDateTime storedDate(Timestamp instant) {
    const auto sinceEpoch = std::chrono::floor<Milliseconds>(instant.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count(), Qt::UTC);
}

// None for a date a Timestamp can't hold.
std::optional<Timestamp> timestampOf(const QDateTime& date) {
    static const auto earliest =
        std::chrono::ceil<Milliseconds>(Timestamp::min().time_since_epoch()).count();
    static const auto latest =
        std::chrono::floor<Milliseconds>(Timestamp::max().time_since_epoch()).count();
    const qint64 sinceEpoch = date.toMSecsSinceEpoch();
    if (sinceEpoch < earliest || sinceEpoch > latest) return std::nullopt;
    return Timestamp(std::chrono::duration_cast<Timestamp::duration>(Milliseconds(sinceEpoch)));
}

Timestamp toStoredPrecision(Timestamp instant) {
    return Timestamp(std::chrono::duration_cast<Timestamp::duration>(
        std::chrono::floor<Milliseconds>(instant.time_since_epoch())));
}

}  // namespace

Preferences::Preferences(PreferenceStore& store, Clock clock, std::filesystem::path home)
    : store(store), clock(std::move(clock)), home(std::move(home)) {}

Preferences& Preferences::shared() {
    static const std::unique_ptr<SettingsPreferenceStore> store =
        SettingsPreferenceStore::application();
    static Preferences preferences(*store);
    return preferences;
}

std::optional<std::string> Preferences::storedBundledInstallSummary() {
    const auto store = SettingsPreferenceStore::application();
    return Preferences(*store).bundledInstallSummary();
}

std::filesystem::path Preferences::defaultHome() {
    return HomeFolder::path();
}

bool Preferences::showTicketInMenuBar() const {
    return flag(Key::showTicketInMenuBar, true);
}
void Preferences::setShowTicketInMenuBar(bool on) {
    store.setValue(Key::showTicketInMenuBar, on);
}
bool Preferences::notifyOnRelease() const {
    return flag(Key::notifyOnRelease, false);
}
void Preferences::setNotifyOnRelease(bool on) {
    store.setValue(Key::notifyOnRelease, on);
}
bool Preferences::notifyOnFailure() const {
    return flag(Key::notifyOnFailure, true);
}
void Preferences::setNotifyOnFailure(bool on) {
    store.setValue(Key::notifyOnFailure, on);
}
bool Preferences::notifyOnAttention() const {
    return flag(Key::notifyOnAttention, true);
}
void Preferences::setNotifyOnAttention(bool on) {
    store.setValue(Key::notifyOnAttention, on);
}
bool Preferences::notifyOnTrackerDown() const {
    return flag(Key::notifyOnTrackerDown, true);
}
void Preferences::setNotifyOnTrackerDown(bool on) {
    store.setValue(Key::notifyOnTrackerDown, on);
}
bool Preferences::notifyOnVornUpdate() const {
    return flag(Key::notifyOnVornUpdate, true);
}
void Preferences::setNotifyOnVornUpdate(bool on) {
    store.setValue(Key::notifyOnVornUpdate, on);
}
bool Preferences::helmMotionEnabled() const {
    return flag(Key::spinOnHandover, true);
}
void Preferences::setHelmMotionEnabled(bool on) {
    store.setValue(Key::spinOnHandover, on);
}
bool Preferences::debugLogging() const {
    return flag(Key::debugLogging, false);
}
void Preferences::setDebugLogging(bool on) {
    store.setValue(Key::debugLogging, on);
}

std::string Preferences::configPath() const {
    return text(Key::configPath);
}
void Preferences::setConfigPath(const std::string& path) {
    store.setValue(Key::configPath, QString::fromStdString(path));
}
std::string Preferences::vornCommandPath() const {
    return text(Key::vornHomePath);
}
void Preferences::setVornCommandPath(const std::string& path) {
    store.setValue(Key::vornHomePath, QString::fromStdString(path));
}
std::string Preferences::preferredRoute() const {
    return text(Key::preferredRoute);
}
void Preferences::setPreferredRoute(const std::string& route) {
    store.setValue(Key::preferredRoute, QString::fromStdString(route));
}
std::string Preferences::vornUpdateAnnounced() const {
    return text(Key::vornUpdateAnnounced);
}
void Preferences::setVornUpdateAnnounced(const std::string& version) {
    store.setValue(Key::vornUpdateAnnounced, QString::fromStdString(version));
}

std::optional<std::filesystem::path> Preferences::configOverride() const {
    return overrideFrom(configPath());
}
std::optional<std::filesystem::path> Preferences::vornCommandOverride() const {
    return overrideFrom(vornCommandPath());
}

std::optional<std::string> Preferences::bundledInstallSummary() const {
    return optionalText(Key::bundledInstallSummary);
}
void Preferences::setBundledInstallSummary(const std::optional<std::string>& summary) {
    setOptionalText(Key::bundledInstallSummary, summary);
}
std::optional<std::string> Preferences::shipNameNotice() const {
    return optionalText(Key::shipNameNotice);
}
void Preferences::setShipNameNotice(const std::optional<std::string>& notice) {
    setOptionalText(Key::shipNameNotice, notice);
}

std::optional<Timestamp> Preferences::vornUpdateCheckedAt() const {
    return date(Key::vornUpdateCheckedAt);
}
void Preferences::setVornUpdateCheckedAt(const std::optional<Timestamp>& checkedAt) {
    if (!checkedAt) {
        store.remove(Key::vornUpdateCheckedAt);
        return;
    }
    store.setValue(Key::vornUpdateCheckedAt, storedDate(*checkedAt));
}

Timestamp Preferences::attentionNotifiedThrough() {
    if (const auto through = date(Key::attentionNotifiedThrough)) return *through;
    const Timestamp now = toStoredPrecision(clock());
    setAttentionNotifiedThrough(now);
    return now;
}
void Preferences::setAttentionNotifiedThrough(Timestamp through) {
    store.setValue(Key::attentionNotifiedThrough, storedDate(through));
}

std::set<std::string> Preferences::shipAttentionAnnounced() const {
    const QVariant value = store.value(Key::shipAttentionAnnounced);
    // A settings file gives a list of one back as its one string.
    if (value.typeId() != QMetaType::QStringList && value.typeId() != QMetaType::QString) {
        return {};
    }
    std::set<std::string> ids;
    for (const QString& id : value.toStringList())
        ids.insert(id.toStdString());
    return ids;
}
void Preferences::setShipAttentionAnnounced(const std::set<std::string>& ids) {
    QStringList list;
    for (const std::string& id : ids)
        list.append(QString::fromStdString(id));
    store.setValue(Key::shipAttentionAnnounced, list);
}

std::map<std::string, std::string> Preferences::locatedTools() const {
    const QVariant value = store.value(Key::locatedTools);
    if (value.typeId() != QMetaType::QVariantMap) return {};
    std::map<std::string, std::string> tools;
    const QVariantMap entries = value.toMap();
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
        if (entry.value().typeId() != QMetaType::QString) continue;
        tools.emplace(entry.key().toStdString(), entry.value().toString().toStdString());
    }
    return tools;
}
void Preferences::setLocatedTools(const std::map<std::string, std::string>& tools) {
    QVariantMap entries;
    for (const auto& [tool, path] : tools) {
        entries.insert(QString::fromStdString(tool), QString::fromStdString(path));
    }
    store.setValue(Key::locatedTools, entries);
}

bool Preferences::flag(const QString& key, bool fallback) const {
    const QVariant value = store.value(key);
    if (value.typeId() == QMetaType::Bool) return value.toBool();
    // What a settings file gives back for a boolean it was given.
    if (value.typeId() == QMetaType::QString) {
        const QString word = value.toString();
        if (word == QLatin1String("true")) return true;
        if (word == QLatin1String("false")) return false;
    }
    return fallback;
}

std::string Preferences::text(const QString& key) const {
    return optionalText(key).value_or(std::string());
}

std::optional<std::string> Preferences::optionalText(const QString& key) const {
    const QVariant value = store.value(key);
    if (value.typeId() != QMetaType::QString) return std::nullopt;
    return value.toString().toStdString();
}

void Preferences::setOptionalText(const QString& key, const std::optional<std::string>& value) {
    if (!value) {
        store.remove(key);
        return;
    }
    store.setValue(key, QString::fromStdString(*value));
}

std::optional<Timestamp> Preferences::date(const QString& key) const {
    const QVariant value = store.value(key);
    if (value.typeId() != QMetaType::QDateTime) return std::nullopt;
    const QDateTime date = value.toDateTime();
    if (!date.isValid()) return std::nullopt;
    return timestampOf(date);
}

std::optional<std::filesystem::path> Preferences::overrideFrom(const std::string& path) const {
    if (path.empty()) return std::nullopt;
    std::filesystem::path expanded = HomeFolder::expandTilde(path, home);
    if (expanded.is_relative()) {
        std::error_code ignored;
        if (auto absolute = std::filesystem::absolute(expanded, ignored); !ignored) {
            expanded = std::move(absolute);
        }
    }
    return expanded;
}

}  // namespace vorn
