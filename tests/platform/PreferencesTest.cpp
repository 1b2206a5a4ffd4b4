#include <gtest/gtest.h>

#include <QDateTime>
#include <QStringList>
#include <QVariantMap>
#include <filesystem>

#include "common/MemoryPreferenceStore.h"
#include "common/TempDir.h"
#include "platform/Preferences.h"
#include "platform/SettingsPreferenceStore.h"

namespace vorn {
namespace {

using std::chrono::milliseconds;
using testing::MemoryPreferenceStore;
using testing::TempDir;

const Timestamp kNow = Timestamp{} + milliseconds{1'800'000'000'123};
const std::filesystem::path kHome = "/home/ada";

Preferences preferencesOver(PreferenceStore& store, Timestamp now = kNow) {
    return Preferences(
        store, [now] { return now; }, kHome);
}

TEST(Preferences, AnEmptyStoreReadsAsTheDefaults) {
    MemoryPreferenceStore store;
    const Preferences preferences = preferencesOver(store);
    EXPECT_TRUE(preferences.showTicketInMenuBar());
    EXPECT_FALSE(preferences.notifyOnRelease());
    EXPECT_TRUE(preferences.notifyOnFailure());
    EXPECT_TRUE(preferences.notifyOnAttention());
    EXPECT_TRUE(preferences.notifyOnTrackerDown());
    EXPECT_TRUE(preferences.notifyOnVornUpdate());
    EXPECT_TRUE(preferences.helmMotionEnabled());
    EXPECT_FALSE(preferences.debugLogging());
    EXPECT_EQ(preferences.configPath(), "");
    EXPECT_EQ(preferences.vornCommandPath(), "");
    EXPECT_EQ(preferences.preferredRoute(), "");
    EXPECT_EQ(preferences.vornUpdateAnnounced(), "");
    EXPECT_EQ(preferences.configOverride(), std::nullopt);
    EXPECT_EQ(preferences.vornCommandOverride(), std::nullopt);
    EXPECT_EQ(preferences.bundledInstallSummary(), std::nullopt);
    EXPECT_EQ(preferences.shipNameNotice(), std::nullopt);
    EXPECT_EQ(preferences.vornUpdateCheckedAt(), std::nullopt);
    EXPECT_TRUE(preferences.shipAttentionAnnounced().empty());
    EXPECT_TRUE(preferences.locatedTools().empty());
}

// The file as a person's machine holds it, written by hand here so that
// every key is checked by its spelling, and every value in the form the
// settings file gives it back: booleans as text, a list of one as its one
// string.
TEST(Preferences, ReadsEachKeyOfTheSettingsFile) {
    TempDir folder;
    const auto file =
        folder.write("Vorn.conf",
                     "[General]\n"
                     "showTicketInMenuBar=false\n"
                     "notifyOnRelease=true\n"
                     "notifyOnFailure=false\n"
                     "notifyOnAttention=false\n"
                     "notifyOnTrackerDown=false\n"
                     "notifyOnVornUpdate=false\n"
                     "spinOnHandover=false\n"
                     "debugLogging=true\n"
                     "configPath=~/cfg/vorn.yaml\n"
                     "vornHomePath=/opt/vorn/bin/vorn\n"
                     "preferredRoute=acme/web\n"
                     "vornUpdateAnnounced=1.4.0\n"
                     "bundledInstallSummary=installed 1.3.2 (replaced nothing)\n"
                     "shipNameNotice=\"Renamed to Nautilus, as in the Ships table.\"\n"
                     "shipAttentionAnnounced=disk_low|/\n");
    SettingsPreferenceStore store(file);
    const Preferences preferences = preferencesOver(store);
    EXPECT_FALSE(preferences.showTicketInMenuBar());
    EXPECT_TRUE(preferences.notifyOnRelease());
    EXPECT_FALSE(preferences.notifyOnFailure());
    EXPECT_FALSE(preferences.notifyOnAttention());
    EXPECT_FALSE(preferences.notifyOnTrackerDown());
    EXPECT_FALSE(preferences.notifyOnVornUpdate());
    EXPECT_FALSE(preferences.helmMotionEnabled());
    EXPECT_TRUE(preferences.debugLogging());
    EXPECT_EQ(preferences.configPath(), "~/cfg/vorn.yaml");
    EXPECT_EQ(preferences.configOverride(), kHome / "cfg/vorn.yaml");
    EXPECT_EQ(preferences.vornCommandPath(), "/opt/vorn/bin/vorn");
    EXPECT_EQ(preferences.vornCommandOverride(), "/opt/vorn/bin/vorn");
    EXPECT_EQ(preferences.preferredRoute(), "acme/web");
    EXPECT_EQ(preferences.vornUpdateAnnounced(), "1.4.0");
    EXPECT_EQ(preferences.bundledInstallSummary(), "installed 1.3.2 (replaced nothing)");
    EXPECT_EQ(preferences.shipNameNotice(), "Renamed to Nautilus, as in the Ships table.");
    EXPECT_EQ(preferences.shipAttentionAnnounced(), (std::set<std::string>{"disk_low|/"}));
}

// Written by one store and read by a fresh one from a copy of its file, so
// the values come from the disk and not from what the process remembers.
TEST(Preferences, EveryValueSurvivesTheSettingsFile) {
    TempDir folder;
    const std::map<std::string, std::string> tools{{"git", "/usr/bin/git"},
                                                   {"a, b", "/x,y/\"quoted\""}};
    const std::set<std::string> announced{"base_unsafe|a, b", "@Invalid()", "", "x|\"q\"\n"};
    const Timestamp checked = kNow - milliseconds{86'400'000};
    {
        SettingsPreferenceStore store(folder / "written.conf");
        Preferences preferences = preferencesOver(store);
        preferences.setNotifyOnRelease(true);
        preferences.setHelmMotionEnabled(false);
        preferences.setConfigPath(" /odd, path/vorn.yaml ");
        preferences.setShipNameNotice("@Variant(not one), really");
        preferences.setVornUpdateCheckedAt(checked);
        preferences.setAttentionNotifiedThrough(kNow);
        preferences.setShipAttentionAnnounced(announced);
        preferences.setLocatedTools(tools);
    }
    std::filesystem::copy_file(folder / "written.conf", folder / "read.conf");
    SettingsPreferenceStore store(folder / "read.conf");
    Preferences preferences = preferencesOver(store, kNow + std::chrono::hours(1));
    EXPECT_TRUE(preferences.notifyOnRelease());
    EXPECT_FALSE(preferences.helmMotionEnabled());
    EXPECT_TRUE(preferences.notifyOnFailure());
    EXPECT_EQ(preferences.configPath(), " /odd, path/vorn.yaml ");
    EXPECT_EQ(preferences.shipNameNotice(), "@Variant(not one), really");
    EXPECT_EQ(preferences.vornUpdateCheckedAt(), checked);
    EXPECT_EQ(preferences.attentionNotifiedThrough(), kNow);
    EXPECT_EQ(preferences.shipAttentionAnnounced(), announced);
    EXPECT_EQ(preferences.locatedTools(), tools);
}

TEST(Preferences, ASetOfOneAndAnEmptySetSurviveTheSettingsFile) {
    TempDir folder;
    for (const std::set<std::string>& ids : {std::set<std::string>{"stalled|dev"},
                                             std::set<std::string>{}, std::set<std::string>{""}}) {
        {
            SettingsPreferenceStore store(folder / "written.conf");
            preferencesOver(store).setShipAttentionAnnounced(ids);
        }
        std::filesystem::remove(folder / "read.conf");
        std::filesystem::copy_file(folder / "written.conf", folder / "read.conf");
        SettingsPreferenceStore store(folder / "read.conf");
        EXPECT_EQ(preferencesOver(store).shipAttentionAnnounced(), ids);
        std::filesystem::remove(folder / "written.conf");
    }
}

TEST(Preferences, TheFirstReadOfTheAttentionMarkStoresNow) {
    MemoryPreferenceStore store;
    // Kept to the millisecond, as the log's dates are.
    Preferences first = preferencesOver(store, kNow + std::chrono::microseconds{999});
    EXPECT_EQ(first.attentionNotifiedThrough(), kNow);
    EXPECT_TRUE(store.contains("attentionNotifiedThrough"));
    // A later launch reads what the first one stored.
    Preferences later = preferencesOver(store, kNow + std::chrono::hours(5));
    EXPECT_EQ(later.attentionNotifiedThrough(), kNow);

    later.setAttentionNotifiedThrough(kNow + std::chrono::minutes(3));
    EXPECT_EQ(later.attentionNotifiedThrough(), kNow + std::chrono::minutes(3));
}

TEST(Preferences, AnAttentionMarkThatHoldsNoDateIsReplacedByNow) {
    MemoryPreferenceStore store;
    for (const QVariant& stored :
         {QVariant(QStringLiteral("2026-01-02T03:04:05Z")), QVariant(true), QVariant(QDateTime()),
          QVariant(QDateTime(QDate(1500, 1, 1), QTime(0, 0), Qt::UTC))}) {
        store.setValue("attentionNotifiedThrough", stored);
        EXPECT_EQ(preferencesOver(store).attentionNotifiedThrough(), kNow) << stored.typeName();
        EXPECT_EQ(store.value("attentionNotifiedThrough").toDateTime().toMSecsSinceEpoch(),
                  1'800'000'000'123);
    }
}

TEST(Preferences, OverridesExpandALeadingTildeAndStandAsAbsolutePaths) {
    MemoryPreferenceStore store;
    Preferences preferences = preferencesOver(store);
    const auto overrideOf = [&](const std::string& path) {
        preferences.setConfigPath(path);
        return preferences.configOverride();
    };
    EXPECT_EQ(overrideOf("~"), kHome);
    EXPECT_EQ(overrideOf("~/vorn/vorn.yaml"), kHome / "vorn/vorn.yaml");
    EXPECT_EQ(overrideOf("/etc/vorn.yaml"), "/etc/vorn.yaml");
    EXPECT_EQ(overrideOf("/a/~/b"), "/a/~/b");
    EXPECT_EQ(overrideOf("cfg/vorn.yaml"), std::filesystem::current_path() / "cfg/vorn.yaml");
    EXPECT_EQ(overrideOf(""), std::nullopt);

    preferences.setVornCommandPath("~/bin/vorn");
    EXPECT_EQ(preferences.vornCommandOverride(), kHome / "bin/vorn");
    EXPECT_EQ(store.value("vornHomePath").toString(), "~/bin/vorn");
}

TEST(Preferences, SettingNothingRemovesTheKey) {
    MemoryPreferenceStore store;
    Preferences preferences = preferencesOver(store);
    preferences.setBundledInstallSummary("up to date (1.3.2)");
    preferences.setShipNameNotice("");
    preferences.setVornUpdateCheckedAt(kNow);
    EXPECT_EQ(preferences.bundledInstallSummary(), "up to date (1.3.2)");
    EXPECT_EQ(preferences.shipNameNotice(), "");
    preferences.setBundledInstallSummary(std::nullopt);
    preferences.setShipNameNotice(std::nullopt);
    preferences.setVornUpdateCheckedAt(std::nullopt);
    EXPECT_FALSE(store.contains("bundledInstallSummary"));
    EXPECT_FALSE(store.contains("shipNameNotice"));
    EXPECT_FALSE(store.contains("vornUpdateCheckedAt"));
}

TEST(Preferences, AValueOfTheWrongKindReadsAsTheDefault) {
    MemoryPreferenceStore store;
    store.setValue("notifyOnFailure", QStringLiteral("maybe"));
    store.setValue("notifyOnRelease", QStringList{"true"});
    store.setValue("configPath", QStringList{"a", "b"});
    store.setValue("bundledInstallSummary", 42);
    store.setValue("vornUpdateCheckedAt", QStringLiteral("yesterday"));
    store.setValue("shipAttentionAnnounced", QVariantMap{{"a", "b"}});
    store.setValue("locatedTools",
                   QVariantMap{{"git", QStringLiteral("/usr/bin/git")}, {"node", 3}});
    const Preferences preferences = preferencesOver(store);
    EXPECT_TRUE(preferences.notifyOnFailure());
    EXPECT_FALSE(preferences.notifyOnRelease());
    EXPECT_EQ(preferences.configPath(), "");
    EXPECT_EQ(preferences.configOverride(), std::nullopt);
    EXPECT_EQ(preferences.bundledInstallSummary(), std::nullopt);
    EXPECT_EQ(preferences.vornUpdateCheckedAt(), std::nullopt);
    EXPECT_TRUE(preferences.shipAttentionAnnounced().empty());
    EXPECT_EQ(preferences.locatedTools(),
              (std::map<std::string, std::string>{{"git", "/usr/bin/git"}}));
}

}  // namespace
}  // namespace vorn
