#pragma once

#include <QLocale>
#include <functional>
#include <string>

#include "support/Timestamp.h"

namespace vorn {

// Times of day as a person reads them: in the local time zone, written the
// way the locale writes them.
struct LocalTime {
    // The time of day without a date, in the locale's short style: "14:05"
    // in Germany, "2:05 PM" in the United States.
    static std::string shortTime(Timestamp instant, const QLocale& locale);

    // `shortTime` in the person's own locale, as the locale is when this is
    // called.
    static std::function<std::string(Timestamp)> shortTimeInSystemLocale();
};

}  // namespace vorn
