#pragma once

#include <QString>
#include <QVariant>

namespace vorn {

// Where the application's preferences are kept between launches: values by
// key, read and written at once, with nothing cached on our side. A store
// may hand a value back in another type than it was given (a settings file
// keeps a boolean as text), so readers convert what they get.
class PreferenceStore {
  public:
    virtual ~PreferenceStore() = default;

    // An invalid QVariant for a key that holds nothing.
    virtual QVariant value(const QString& key) const = 0;
    virtual void setValue(const QString& key, const QVariant& value) = 0;
    virtual void remove(const QString& key) = 0;
};

}  // namespace vorn
