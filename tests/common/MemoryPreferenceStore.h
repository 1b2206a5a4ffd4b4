#pragma once

#include <QHash>

#include "platform/PreferenceStore.h"

namespace vorn::testing {

// Preferences kept in memory only, for tests that must not touch a
// person's own settings. Values come back in the type they went in.
class MemoryPreferenceStore final : public PreferenceStore {
  public:
    QVariant value(const QString& key) const override { return values.value(key); }
    void setValue(const QString& key, const QVariant& value) override { values.insert(key, value); }
    void remove(const QString& key) override { values.remove(key); }

    bool contains(const QString& key) const { return values.contains(key); }

  private:
    QHash<QString, QVariant> values;
};

}  // namespace vorn::testing
