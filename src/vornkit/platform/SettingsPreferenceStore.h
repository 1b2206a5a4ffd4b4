#pragma once

#include <QSettings>
#include <filesystem>
#include <memory>
#include <mutex>

#include "platform/PreferenceStore.h"

namespace vorn {

// Preferences in a settings file of the desktop's own kind. Every write
// reaches the file before the call returns, so another process (the probe)
// reads it at once. Safe to use from several threads.
class SettingsPreferenceStore final : public PreferenceStore {
  public:
    // The application's file: organisation "Pelorinth", application "Vorn",
    // in the user's configuration folder.
    static std::unique_ptr<SettingsPreferenceStore> application();

    // A file of the same format at `file`.
    explicit SettingsPreferenceStore(const std::filesystem::path& file);

    QVariant value(const QString& key) const override;
    void setValue(const QString& key, const QVariant& value) override;
    void remove(const QString& key) override;

  private:
    explicit SettingsPreferenceStore(std::unique_ptr<QSettings> settings);

    mutable std::mutex lock;
    std::unique_ptr<QSettings> settings;
};

}  // namespace vorn
