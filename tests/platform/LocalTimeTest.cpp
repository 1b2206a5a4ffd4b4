#include <gtest/gtest.h>

#include <QDateTime>
#include <QLocale>

#include "model/ErrorCoalescer.h"
#include "platform/LocalTime.h"

namespace vorn {
namespace {

Timestamp localAfternoon(int hour, int minute, int second) {
    const QDateTime local(QDate(2026, 3, 9), QTime(hour, minute, second, 500));
    return Timestamp(std::chrono::milliseconds(local.toMSecsSinceEpoch()));
}

TEST(LocalShortTime, IsTheLocalTimeOfDayInTheLocalesShortStyle) {
    const Timestamp instant = localAfternoon(14, 5, 59);
    EXPECT_EQ(LocalTime::shortTime(instant, QLocale(QLocale::German, QLocale::Germany)), "14:05");
    const std::string american =
        LocalTime::shortTime(instant, QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_TRUE(american.starts_with("2:05")) << american;
    EXPECT_TRUE(american.ends_with("PM")) << american;
}

TEST(LocalShortTime, GivesTheCoalescersBodyItsTime) {
    ErrorCoalescer coalescer([](Timestamp instant) {
        return LocalTime::shortTime(instant, QLocale(QLocale::German, QLocale::Germany));
    });
    const Timestamp first = localAfternoon(14, 5, 0);
    std::vector<VornEvent> events(3);
    for (size_t index = 0; index < events.size(); ++index) {
        events[index].at = first + std::chrono::minutes(5 * index);
        events[index].level = VornLevel::error;
        events[index].message = "poll failed: 500";
    }
    const auto notices = coalescer.ingest(events, distantPast, events.back().at);
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].body, "\u00d73 since 14:05");
}

}  // namespace
}  // namespace vorn
