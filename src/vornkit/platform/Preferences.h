#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/PreferenceStore.h"
#include "support/Timestamp.h"

namespace vorn {

// Everything the application remembers between launches, one typed
// property per key of the store. A key never set reads as its default;
// nothing is cached here, so each read sees the store as it is now.
class Preferences {
  public:
    using Clock = std::function<Timestamp()>;

    // `home` is what a leading "~" of a chosen path stands for.
    explicit Preferences(PreferenceStore& store, Clock clock = &std::chrono::system_clock::now,
                         std::filesystem::path home = defaultHome());

    // The application's own, over its settings file, made at its first use.
    static Preferences& shared();
    // The summary of the last built-in install as the settings file holds
    // it now, read without making `shared`: for the probe.
    static std::optional<std::string> storedBundledInstallSummary();

    bool showTicketInMenuBar() const;  // default true
    void setShowTicketInMenuBar(bool on);
    bool notifyOnRelease() const;  // default false
    void setNotifyOnRelease(bool on);
    bool notifyOnFailure() const;  // default true
    void setNotifyOnFailure(bool on);
    bool notifyOnAttention() const;  // default true
    void setNotifyOnAttention(bool on);
    bool notifyOnTrackerDown() const;  // default true
    void setNotifyOnTrackerDown(bool on);
    bool notifyOnVornUpdate() const;  // default true
    void setNotifyOnVornUpdate(bool on);
    bool helmMotionEnabled() const;  // key "spinOnHandover", default true
    void setHelmMotionEnabled(bool on);
    bool debugLogging() const;  // default false
    void setDebugLogging(bool on);

    // The vorn.yaml a person chose; empty for none.
    std::string configPath() const;
    void setConfigPath(const std::string& path);
    // The vorn command a person chose; empty for none. Key "vornHomePath".
    std::string vornCommandPath() const;
    void setVornCommandPath(const std::string& path);
    std::string preferredRoute() const;
    void setPreferredRoute(const std::string& route);
    // The version last announced as an update of the scheduler.
    std::string vornUpdateAnnounced() const;
    void setVornUpdateAnnounced(const std::string& version);

    // `configPath` and `vornCommandPath` as absolute paths, a leading "~"
    // expanded and a relative path taken from the working folder; none
    // while the text is empty.
    std::optional<std::filesystem::path> configOverride() const;
    std::optional<std::filesystem::path> vornCommandOverride() const;

    // Optional values: setting none removes the key.
    std::optional<std::string> bundledInstallSummary() const;
    void setBundledInstallSummary(const std::optional<std::string>& summary);
    std::optional<std::string> shipNameNotice() const;
    void setShipNameNotice(const std::optional<std::string>& notice);
    std::optional<Timestamp> vornUpdateCheckedAt() const;
    void setVornUpdateCheckedAt(const std::optional<Timestamp>& checkedAt);

    // The newest attention event announced. While the key holds no date it
    // is set to now by the read, so a first launch announces nothing that
    // was in the log before.
    Timestamp attentionNotifiedThrough();
    void setAttentionNotifiedThrough(Timestamp through);

    // Ids of the ship's items announced while open.
    std::set<std::string> shipAttentionAnnounced() const;
    void setShipAttentionAnnounced(const std::set<std::string>& ids);

    // Paths of tools a person pointed setup to, by tool.
    std::map<std::string, std::string> locatedTools() const;
    void setLocatedTools(const std::map<std::string, std::string>& tools);

  private:
    static std::filesystem::path defaultHome();

    bool flag(const QString& key, bool fallback) const;
    std::string text(const QString& key) const;
    std::optional<std::string> optionalText(const QString& key) const;
    void setOptionalText(const QString& key, const std::optional<std::string>& value);
    std::optional<Timestamp> date(const QString& key) const;
    std::optional<std::filesystem::path> overrideFrom(const std::string& path) const;

    PreferenceStore& store;
    Clock clock;
    std::filesystem::path home;
};

}  // namespace vorn
