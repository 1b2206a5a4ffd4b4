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

// Each reader below sets one field from a member's value, in place, to
// what it holds or to absent.

void readText(element value, std::optional<std::string>& field) {
    if (const auto text = JSONValue::string(value)) {
        field.emplace(*text);
    } else {
        field.reset();
    }
}

void readText(element value, std::string& field) {
    field = JSONValue::string(value).value_or("");
}

template <class Enum>
std::optional<Enum> knownCase(element value) {
    const auto text = JSONValue::string(value);
    if (!text) return std::nullopt;
    return fromRaw<Enum>(*text);
}

// Names that are no role are left out; a list with anything but strings in
// it counts as absent.
void readRoles(element value, std::vector<VornRole>& field) {
    field.clear();
    const auto names = JSONValue::strings(value);
    if (!names) return;
    for (std::string_view name : *names) {
        if (const auto role = fromRaw<VornRole>(name)) field.push_back(*role);
    }
}

void readTexts(element value, std::vector<std::string>& field) {
    field.clear();
    if (const auto texts = JSONValue::strings(value)) field.assign(texts->begin(), texts->end());
}

void readURL(element value, std::optional<std::string>& field) {
    const auto text = JSONValue::string(value);
    if (text && URLText::isAbsoluteURL(*text)) {
        field.emplace(*text);
    } else {
        field.reset();
    }
}

void readDataMember(std::string_view key, element value, VornEvent& event) {
    if (key == "hook") {
        readText(value, event.hook);
    } else if (key == "rank") {
        event.rank = JSONValue::exactInteger(value);
    } else if (key == "pending") {
        readRoles(value, event.pending);
    } else if (key == "ms") {
        event.durationMs = JSONValue::exactInteger(value);
    } else if (key == "kind") {
        event.agentKind = knownCase<VornAgentDetailKind>(value);
    } else if (key == "text") {
        readText(value, event.agentText);
    } else if (key == "tool") {
        readText(value, event.tool);
    } else if (key == "target") {
        readText(value, event.target);
    } else if (key == "cycleIndex") {
        event.agentCycleIndex = JSONValue::exactInteger(value);
    } else if (key == "attention") {
        readTexts(value, event.attention);
    } else if (key == "url") {
        readURL(value, event.url);
    } else if (key == "title") {
        readText(value, event.ticketTitle);
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
        readText(value, event.cycle);
    } else if (key == "route") {
        readText(value, event.route);
    } else if (key == "step") {
        event.step = knownCase<VornStep>(value).value_or(VornStep::unknown);
    } else if (key == "level") {
        event.level = knownCase<VornLevel>(value).value_or(VornLevel::info);
    } else if (key == "role") {
        event.role = knownCase<VornRole>(value);
    } else if (key == "ticket") {
        readText(value, event.ticket);
    }
}

// Fills `event` from the members of a line; false when the line is no
// event after all.
bool readObject(simdjson::dom::object line, VornEvent& event) {
    RequiredFields required;
    std::optional<simdjson::dom::object> data;
    for (const auto member : line) {
        readMember(member.key, member.value, event, required, data);
    }
    if (!required.at || !required.message) return false;
    event.at = VornEventDecoder::date(*required.at);
    event.message.assign(*required.message);
    if (data) {
        for (const auto member : *data)
            readDataMember(member.key, member.value, event);
    }
    return true;
}

bool decodeWith(simdjson::dom::parser& parser, std::string_view line, std::int64_t id,
                VornEvent& event) {
    // Well-formed but for a number no machine type holds: no field takes
    // such a number, so it reads as absent and the line stands.
    std::string rewritten;
    const auto object = JSONValue::parseObject(parser, line, rewritten);
    if (!object) return false;
    event.id = id;
    return readObject(*object, event);
}

}  // namespace

std::optional<VornEvent> VornEventDecoder::decode(std::string_view line, std::int64_t id) {
    // Built in place and returned without a copy.
    std::optional<VornEvent> event(std::in_place);
    if (!decode(line, id, *event)) event.reset();
    return event;
}

bool VornEventDecoder::decode(std::string_view line, std::int64_t id, VornEvent& event) {
    if (line.size() > kSharedParserLineLimit) {
        simdjson::dom::parser parser;
        return decodeWith(parser, line, id, event);
    }
    thread_local simdjson::dom::parser sharedParser;
    return decodeWith(sharedParser, line, id, event);
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
