#include "platform/SettingsPreferenceStore.h"

namespace vorn {

std::unique_ptr<SettingsPreferenceStore> SettingsPreferenceStore::application() {
    // Named outright rather than through the application object, so the
    // probe, which makes none, reads the same file.
    return std::unique_ptr<SettingsPreferenceStore>(new SettingsPreferenceStore(
        std::make_unique<QSettings>(QStringLiteral("Pelorinth"), QStringLiteral("Vorn"))));
}

SettingsPreferenceStore::SettingsPreferenceStore(const std::filesystem::path& file)
    : SettingsPreferenceStore(std::make_unique<QSettings>(QString::fromStdString(file.string()),
                                                          QSettings::IniFormat)) {}

SettingsPreferenceStore::SettingsPreferenceStore(std::unique_ptr<QSettings> settings)
    : settings(std::move(settings)) {}

QVariant SettingsPreferenceStore::value(const QString& key) const {
    const std::lock_guard guard(lock);
    return settings->value(key);
}

void SettingsPreferenceStore::setValue(const QString& key, const QVariant& value) {
    const std::lock_guard guard(lock);
    settings->setValue(key, value);
    settings->sync();
}

void SettingsPreferenceStore::remove(const QString& key) {
    const std::lock_guard guard(lock);
    settings->remove(key);
    settings->sync();
}

}  // namespace vorn
