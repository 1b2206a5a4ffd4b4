#include "platform/LocalTime.h"

#include <QDateTime>

namespace vorn {

std::string LocalTime::shortTime(Timestamp instant, const QLocale& locale) {
    const auto sinceEpoch =
        std::chrono::floor<std::chrono::milliseconds>(instant.time_since_epoch());
    const QTime local = QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).time();
    return locale.toString(local, QLocale::ShortFormat).toStdString();
}

std::function<std::string(Timestamp)> LocalTime::shortTimeInSystemLocale() {
    return [locale = QLocale::system()](Timestamp instant) { return shortTime(instant, locale); };
}

}  // namespace vorn
