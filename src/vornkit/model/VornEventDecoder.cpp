#include "model/VornEventDecoder.h"

#include <algorithm>
#include <string>

#include "support/JSONValue.h"
#include "support/URLText.h"

namespace vorn {

namespace {

using simdjson::dom::element;

// A parser keeps the capacity of the longest line it has seen. Lines up to
// this size share one parser per thread; a longer one gets a parser of its
// own, so one huge line doesn't pin its memory for the life of the thread.
constexpr size_t kSharedParserLineLimit = 1 << 20;

std::optional<std::string> ownedText(element value) {
    const auto text = JSONValue::string(value);
    if (!text) return std::nullopt;
    return std::string(*text);
}

template <class Enum>
std::optional<Enum> knownCase(element value) {
    const auto text = JSONValue::string(value);
    if (!text) return std::nullopt;
    return fromRaw<Enum>(*text);
}

// Names that are no role are left out; a list with anything but strings in
// it counts as absent.
std::vector<VornRole> knownRoles(element value) {
    std::vector<VornRole> roles;
    const auto names = JSONValue::strings(value);
    if (!names) return roles;
    for (std::string_view name : *names) {
        if (const auto role = fromRaw<VornRole>(name)) roles.push_back(*role);
    }
    return roles;
}

std::vector<std::string> ownedTexts(element value) {
    const auto texts = JSONValue::strings(value);
    if (!texts) return {};
    return std::vector<std::string>(texts->begin(), texts->end());
}

std::optional<std::string> openableURL(element value) {
    const auto text = JSONValue::string(value);
    if (!text || !URLText::isAbsoluteURL(*text)) return std::nullopt;
    return std::string(*text);
}

void readDataMember(std::string_view key, element value, VornEvent& event) {
    if (key == "hook") {
        event.hook = ownedText(value);
    } else if (key == "rank") {
        event.rank = JSONValue::exactInteger(value);
    } else if (key == "pending") {
        event.pending = knownRoles(value);
    } else if (key == "ms") {
        event.durationMs = JSONValue::exactInteger(value);
    } else if (key == "kind") {
        event.agentKind = knownCase<VornAgentDetailKind>(value);
    } else if (key == "text") {
        event.agentText = ownedText(value);
    } else if (key == "tool") {
        event.tool = ownedText(value);
    } else if (key == "target") {
        event.target = ownedText(value);
    } else if (key == "cycleIndex") {
        event.agentCycleIndex = JSONValue::exactInteger(value);
    } else if (key == "attention") {
        event.attention = ownedTexts(value);
    } else if (key == "url") {
        event.url = openableURL(value);
    } else if (key == "title") {
        event.ticketTitle = ownedText(value);
    }
}

// The two fields a line can't do without, looked at once it is all read.
struct RequiredFields {
    std::optional<std::string_view> at;
    std::optional<std::string_view> message;
};

// Members are read in order, so of a key given twice the later value
// stands, the same for `data` as a whole.
void readMember(std::string_view key, element value, VornEvent& event, RequiredFields& required,
                std::optional<simdjson::dom::object>& data) {
    if (key == "at") {
        required.at = JSONValue::string(value);
    } else if (key == "message") {
        required.message = JSONValue::string(value);
    } else if (key == "data") {
        data = JSONValue::object(value);
    } else if (key == "cycle") {
        event.cycle = JSONValue::string(value).value_or("");
    } else if (key == "route") {
        event.route = JSONValue::string(value).value_or("");
    } else if (key == "step") {
        event.step = knownCase<VornStep>(value).value_or(VornStep::unknown);
    } else if (key == "level") {
        event.level = knownCase<VornLevel>(value).value_or(VornLevel::info);
    } else if (key == "role") {
        event.role = knownCase<VornRole>(value);
    } else if (key == "ticket") {
        event.ticket = ownedText(value);
    }
}

std::optional<VornEvent> decodeObject(simdjson::dom::object line, std::int64_t id) {
    VornEvent event;
    event.id = id;
    RequiredFields required;
    std::optional<simdjson::dom::object> data;
    for (const auto member : line) {
        readMember(member.key, member.value, event, required, data);
    }
    if (!required.at || !required.message) return std::nullopt;
    event.at = VornEventDecoder::date(*required.at);
    event.message = std::string(*required.message);
    if (data) {
        for (const auto member : *data)
            readDataMember(member.key, member.value, event);
    }
    return event;
}

std::optional<VornEvent> decodeWith(simdjson::dom::parser& parser, std::string_view line,
                                    std::int64_t id) {
    element root;
    simdjson::error_code failure = parser.parse(line.data(), line.size()).get(root);
    std::string rewritten;
    if (failure == simdjson::NUMBER_ERROR) {
        // Well-formed but for a number no machine type holds; no field
        // takes such a number, so it reads as absent and the line stands.
        auto withNulls = JSONValue::withHugeNumbersAsNull(line);
        if (!withNulls) return std::nullopt;
        rewritten = std::move(*withNulls);
        failure = parser.parse(rewritten.data(), rewritten.size()).get(root);
    }
    if (failure != simdjson::SUCCESS) return std::nullopt;
    const auto object = JSONValue::object(root);
    if (!object) return std::nullopt;
    return decodeObject(*object, id);
}

}  // namespace

std::optional<VornEvent> VornEventDecoder::decode(std::string_view line, std::int64_t id) {
    if (line.size() > kSharedParserLineLimit) {
        simdjson::dom::parser parser;
        return decodeWith(parser, line, id);
    }
    thread_local simdjson::dom::parser sharedParser;
    return decodeWith(sharedParser, line, id);
}

namespace {

// The decimal value of text[from, to), or -1 when a byte there isn't an
// ASCII digit.
int decimalField(std::string_view text, size_t from, size_t to) {
    int value = 0;
    for (size_t index = from; index < to; ++index) {
        const char character = text[index];
        if (character < '0' || character > '9') return -1;
        value = value * 10 + (character - '0');
    }
    return value;
}

std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) {
    return value >= 0 ? value / divisor : -((-value + divisor - 1) / divisor);
}

// Days from 1970-01-01 to the first of `month` (1-12) in the proleptic
// Gregorian calendar: the civil-from-days inverse, by 400-year eras.
std::int64_t daysToFirstOfMonth(std::int64_t year, std::int64_t month) {
    const std::int64_t shiftedYear = month <= 2 ? year - 1 : year;
    const std::int64_t era = floorDivide(shiftedYear, 400);
    const std::int64_t yearOfEra = shiftedYear - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

}  // namespace

Timestamp VornEventDecoder::date(std::string_view text) {
    if (text.size() < 19) return distantPast;
    const int year = decimalField(text, 0, 4);
    const int month = decimalField(text, 5, 7);
    const int day = decimalField(text, 8, 10);
    const int hour = decimalField(text, 11, 13);
    const int minute = decimalField(text, 14, 16);
    const int second = decimalField(text, 17, 19);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0) {
        return distantPast;
    }
    int millisecond = 0;
    if (text.size() >= 23 && text[19] == '.') millisecond = std::max(decimalField(text, 20, 23), 0);

    // Month 0 is December of the year before, month 13 January after; days
    // and times past their range carry into the next unit the same way.
    const std::int64_t monthCount = std::int64_t{year} * 12 + (month - 1);
    const std::int64_t wholeYear = floorDivide(monthCount, 12);
    const std::int64_t days =
        daysToFirstOfMonth(wholeYear, monthCount - wholeYear * 12 + 1) + day - 1;
    const std::int64_t seconds = days * 86400 + hour * 3600 + minute * 60 + second;
    const std::chrono::milliseconds sinceEpoch(seconds * 1000 + millisecond);

    constexpr auto earliest =
        std::chrono::ceil<std::chrono::milliseconds>(Timestamp::min().time_since_epoch());
    constexpr auto latest =
        std::chrono::floor<std::chrono::milliseconds>(Timestamp::max().time_since_epoch());
    if (sinceEpoch < earliest || sinceEpoch > latest) return distantPast;
    return Timestamp(std::chrono::duration_cast<Timestamp::duration>(sinceEpoch));
}

}  // namespace vorn
