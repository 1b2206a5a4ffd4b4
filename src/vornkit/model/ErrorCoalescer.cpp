#include "model/ErrorCoalescer.h"

#include <algorithm>

#include "support/Text.h"

namespace vorn {

namespace {

constexpr std::string_view kCauseSeparator = ": ";

std::string_view firstLine(std::string_view message) {
    return message.substr(0, message.find('\n'));
}

bool isASCIIDigit(char character) {
    return character >= '0' && character <= '9';
}

// "503" with no digit right before or after it: "HTTP 503" but not "15030".
bool holdsStandAlone503(std::string_view message) {
    constexpr std::string_view code = "503";
    for (size_t at = message.find(code); at != std::string_view::npos;
         at = message.find(code, at + 1)) {
        const bool digitBefore = at > 0 && isASCIIDigit(message[at - 1]);
        const size_t behind = at + code.size();
        const bool digitAfter = behind < message.size() && isASCIIDigit(message[behind]);
        if (!digitBefore && !digitAfter) return true;
    }
    return false;
}

// "×3 since 14:05": the count first, so it stays in sight when a narrow
// banner cuts the body short.
std::string repeatedBody(std::int64_t count, const std::string& since) {
    return "\u00d7" + std::to_string(count) + " since " + since;
}

}  // namespace

ErrorCoalescer::ErrorCoalescer(ShortTime shortTime) : shortTime(std::move(shortTime)) {}

std::string ErrorCoalescer::key(std::string_view message) {
    const std::string_view line = firstLine(message);
    return std::string(line.substr(0, line.find(kCauseSeparator)));
}

std::optional<std::string> ErrorCoalescer::cause(std::string_view message) {
    const std::string_view line = firstLine(message);
    const size_t separator = line.find(kCauseSeparator);
    if (separator == std::string_view::npos) return std::nullopt;
    const std::string_view text =
        Text::trimBlanksAndTabs(line.substr(separator + kCauseSeparator.size()));
    if (text.empty()) return std::nullopt;
    return std::string(text);
}

bool ErrorCoalescer::isTransient(std::string_view message) {
    return message.find("fetch failed") != std::string_view::npos ||
           message.find("Unexpected token '<'") != std::string_view::npos ||
           holdsStandAlone503(message);
}

std::vector<ErrorNotice> ErrorCoalescer::ingest(std::span<const VornEvent> events,
                                                Timestamp silentThrough, Timestamp now) {
    // Only what is newer than anything seen before: an error that turns up
    // late with an older date is passed over for good.
    std::vector<const VornEvent*> fresh;
    for (const VornEvent& event : events) {
        if (event.level == VornLevel::error && event.at > newestIngested) fresh.push_back(&event);
    }
    std::stable_sort(fresh.begin(), fresh.end(), [](const VornEvent* left, const VornEvent* right) {
        return left->at < right->at;
    });

    std::vector<std::string> touched;
    for (const VornEvent* event : fresh) {
        std::string id = fold(*event);
        if (event->at > silentThrough &&
            std::find(touched.begin(), touched.end(), id) == touched.end()) {
            touched.push_back(std::move(id));
        }
    }
    if (!fresh.empty()) newestIngested = std::max(newestIngested, fresh.back()->at);

    // On every call, so rows go stale and leave even while nothing is logged.
    dropGroupsSilentSince(now);

    std::vector<ErrorNotice> notices;
    for (const std::string& id : touched) {
        ErrorGroup* group = groupWithId(id);
        if (!group) continue;  // silent too long already
        if (auto notice = noticeFor(*group)) notices.push_back(std::move(*notice));
    }
    return notices;
}

std::string ErrorCoalescer::fold(const VornEvent& event) {
    std::string key = ErrorCoalescer::key(event.message);
    const bool transient = isTransient(event.message);
    std::optional<std::string> cause = ErrorCoalescer::cause(event.message);
    const auto sameFailure = [&](const ErrorGroup& group) {
        return group.key == key && group.transient == transient;
    };

    const auto existing = std::find_if(groupList.begin(), groupList.end(), sameFailure);
    if (existing != groupList.end() && secondsBetween(existing->lastAt, event.at) <= burstGap) {
        ++existing->count;
        existing->lastAt = std::max(existing->lastAt, event.at);
        existing->lastCause = std::move(cause);
        return existing->id();
    }
    // After a quiet gap the failure starts over, and may be announced again.
    std::erase_if(groupList, sameFailure);
    groupList.push_back({.key = std::move(key),
                         .firstAt = event.at,
                         .lastAt = event.at,
                         .count = 1,
                         .transient = transient,
                         .notified = false,
                         .lastCause = std::move(cause)});
    return groupList.back().id();
}

std::optional<ErrorNotice> ErrorCoalescer::noticeFor(ErrorGroup& group) const {
    if (!group.transient) {
        // Each new event of a real failure is worth saying again; the fixed
        // identifier keeps it to one notification on screen.
        group.notified = true;
        return ErrorNotice{.identifier = "error|" + group.key,
                           .title = "Vorn: " + group.key,
                           .body = group.count < 2
                                       ? group.lastCause.value_or("An error occurred")
                                       : repeatedBody(group.count, shortTime(group.firstAt)),
                           .transient = false};
    }
    // An outage is announced once, and only when it didn't heal within the
    // threshold; every outage shares one slot on screen.
    if (group.notified || secondsBetween(group.firstAt, group.lastAt) < transientThreshold) {
        return std::nullopt;
    }
    group.notified = true;
    return ErrorNotice{.identifier = "tracker-unreachable",
                       .title = "Vorn: tracker unreachable",
                       .body = group.key + " since " + shortTime(group.firstAt),
                       .transient = true};
}

void ErrorCoalescer::dropGroupsSilentSince(Timestamp now) {
    std::erase_if(groupList, [&](const ErrorGroup& group) {
        return secondsBetween(group.lastAt, now) > retention;
    });
}

ErrorGroup* ErrorCoalescer::groupWithId(std::string_view id) {
    const auto found = std::find_if(groupList.begin(), groupList.end(),
                                    [&](const ErrorGroup& group) { return group.id() == id; });
    return found == groupList.end() ? nullptr : &*found;
}

}  // namespace vorn
