#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/ErrorGroup.h"
#include "model/ErrorNotice.h"
#include "model/VornEvent.h"
#include "support/Timestamp.h"

namespace vorn {

// Folds the error events of the log into a few rows, one per failure and
// burst, and decides which of them are worth a notification. The scheduler
// logs the same failure on every cycle for as long as it lasts, and a short
// loss of the workspace service throws a burst of errors that heals by
// itself; neither should become a stream of notifications.
//
// It reads neither files nor the clock: the caller passes "now", and the
// text of a time of day comes from `shortTime`, which the application sets
// to the person's locale.
class ErrorCoalescer {
  public:
    // The time of day of an instant, in the locale's short style: "14:05".
    using ShortTime = std::function<std::string(Timestamp)>;

    // In seconds. A failure that stays away longer than this starts a new
    // burst.
    static constexpr double burstGap = 900;
    // A group silent for longer than this leaves the list.
    static constexpr double retention = 3600;
    // An outage is announced only once it has lasted this long.
    static constexpr double transientThreshold = 300;

    explicit ErrorCoalescer(ShortTime shortTime);

    // Folds in the error events dated after the newest one already seen, in
    // date order, and drops the groups silent for longer than the retention.
    // Events dated at or before `silentThrough` fill the groups but announce
    // nothing. The notices come in the order their groups were first touched.
    std::vector<ErrorNotice> ingest(std::span<const VornEvent> events, Timestamp silentThrough,
                                    Timestamp now);

    // In order of creation.
    const std::vector<ErrorGroup>& groups() const { return groupList; }
    Timestamp ingestedThrough() const { return newestIngested; }

    // The first line in front of its first ": ", or the whole first line.
    static std::string key(std::string_view message);
    // The first line behind its first ": ", without blanks and tabs around
    // it; none when there is no ": " or nothing is left.
    static std::optional<std::string> cause(std::string_view message);
    // Whether the message speaks of the workspace service being out of
    // reach rather than of a failure of the scheduler's own work.
    static bool isTransient(std::string_view message);

  private:
    // Folds one event in; gives the id of the group it went into.
    std::string fold(const VornEvent& event);
    std::optional<ErrorNotice> noticeFor(ErrorGroup& group) const;
    void dropGroupsSilentSince(Timestamp now);
    ErrorGroup* groupWithId(std::string_view id);

    ShortTime shortTime;
    std::vector<ErrorGroup> groupList;
    Timestamp newestIngested = distantPast;
};

}  // namespace vorn
