// An event log of any content, folded in two calls, keeps the coalescer's
// promises: groups of at least one event, first before last, one group per
// failure, and notices only in the two forms there are; the attention
// announcer picks from the same events without failing.
#include <cstdint>
#include <cstdlib>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/AttentionAnnouncer.h"
#include "model/ErrorCoalescer.h"
#include "model/VornEventDecoder.h"

namespace {

using vorn::ErrorCoalescer;
using vorn::Timestamp;

std::vector<vorn::VornEvent> decodedLines(std::string_view input) {
    std::vector<vorn::VornEvent> events;
    while (!input.empty()) {
        const size_t end = input.find('\n');
        const std::string_view line = input.substr(0, end);
        if (auto event = vorn::VornEventDecoder::decode(line, std::int64_t(events.size()))) {
            events.push_back(std::move(*event));
        }
        if (end == std::string_view::npos) break;
        input.remove_prefix(end + 1);
    }
    return events;
}

void checkGroups(const ErrorCoalescer& coalescer) {
    std::set<std::string> ids;
    for (const vorn::ErrorGroup& group : coalescer.groups()) {
        if (group.count < 1 || group.firstAt > group.lastAt) std::abort();
        if (!ids.insert(group.id()).second) std::abort();
        if (group.key != ErrorCoalescer::key(group.key)) std::abort();
    }
}

void checkNotices(const std::vector<vorn::ErrorNotice>& notices) {
    for (const vorn::ErrorNotice& notice : notices) {
        if (!notice.title.starts_with("Vorn: ")) std::abort();
        const bool outage = notice.identifier == "tracker-unreachable";
        if (outage != notice.transient) std::abort();
        if (!outage && notice.identifier != "error|" + notice.title.substr(6)) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    ErrorCoalescer::key(input);
    ErrorCoalescer::cause(input);
    ErrorCoalescer::isTransient(input);

    const auto events = decodedLines(input);
    if (events.empty()) return 0;
    ErrorCoalescer coalescer(
        [](Timestamp instant) { return std::to_string(instant.time_since_epoch().count()); });
    const std::span<const vorn::VornEvent> all(events);
    const size_t half = events.size() / 2;
    const Timestamp silentThrough = events.front().at;

    checkNotices(coalescer.ingest(all.first(half), silentThrough, events[half].at));
    checkGroups(coalescer);
    const Timestamp through = coalescer.ingestedThrough();
    checkNotices(coalescer.ingest(all, silentThrough, events.back().at));
    checkGroups(coalescer);
    if (coalescer.ingestedThrough() < through) std::abort();
    // Everything is folded in now; the same events again change nothing.
    const auto before = coalescer.groups();
    if (!coalescer.ingest(all, silentThrough, events.back().at).empty()) std::abort();
    if (coalescer.groups() != before) std::abort();

    for (const vorn::VornEvent& event : vorn::AttentionAnnouncer::select(all, silentThrough)) {
        if (event.at <= silentThrough) std::abort();
        vorn::AttentionAnnouncer::notice(event);
    }
    return 0;
}
