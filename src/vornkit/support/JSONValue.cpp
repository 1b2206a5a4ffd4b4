#include "support/JSONValue.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace vorn {

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool isNumberCharacter(char character) {
    return isDigit(character) || character == '-' || character == '+' || character == '.' ||
           character == 'e' || character == 'E';
}

// The power of ten of the leading significant digit of a well-formed
// number whose digits are not all zero, saturating far beyond what any
// double holds.
long long decimalMagnitude(std::string_view token) {
    const size_t exponentAt = token.find_first_of("eE");
    const std::string_view mantissa = token.substr(0, exponentAt);
    long long exponent = 0;
    if (exponentAt != std::string_view::npos) {
        std::string_view digits = token.substr(exponentAt + 1);
        const bool negative = !digits.empty() && digits.front() == '-';
        if (!digits.empty() && (digits.front() == '-' || digits.front() == '+')) {
            digits.remove_prefix(1);
        }
        for (char digit : digits) {
            exponent = std::min(exponent * 10 + (digit - '0'), 1'000'000'000LL);
        }
        if (negative) exponent = -exponent;
    }
    const size_t point = mantissa.find('.');
    std::string_view whole = mantissa.substr(0, point);
    if (!whole.empty() && whole.front() == '-') whole.remove_prefix(1);
    const size_t firstSignificant = whole.find_first_not_of('0');
    if (firstSignificant != std::string_view::npos) {
        return static_cast<long long>(whole.size() - firstSignificant) - 1 + exponent;
    }
    const std::string_view fraction =
        point == std::string_view::npos ? std::string_view() : mantissa.substr(point + 1);
    const size_t firstInFraction = fraction.find_first_not_of('0');
    if (firstInFraction == std::string_view::npos) return std::numeric_limits<long long>::min();
    return -static_cast<long long>(firstInFraction) - 1 + exponent;
}

// For a well-formed number: whether simdjson would refuse it.
bool isHugeNumber(std::string_view token) {
    const char* first = token.data();
    const char* last = token.data() + token.size();
    if (token.find_first_of(".eE") == std::string_view::npos) {
        std::int64_t signedValue = 0;
        if (std::from_chars(first, last, signedValue).ec == std::errc()) return false;
        std::uint64_t unsignedValue = 0;
        return token.front() == '-' ||
               std::from_chars(first, last, unsignedValue).ec != std::errc();
    }
    double value = 0;
    if (std::from_chars(first, last, value).ec != std::errc::result_out_of_range) return false;
    // Out of range either way: too large is refused, too small reads as 0.
    return decimalMagnitude(token) > 0;
}

}  // namespace

std::optional<simdjson::dom::object> JSONValue::parseObject(simdjson::dom::parser& parser,
                                                            std::string_view json,
                                                            std::string& rewritten) {
    simdjson::dom::element root;
    simdjson::error_code failure = parser.parse(json.data(), json.size()).get(root);
    if (failure == simdjson::NUMBER_ERROR) {
        auto withNulls = withHugeNumbersAsNull(json);
        if (!withNulls) return std::nullopt;
        rewritten = std::move(*withNulls);
        failure = parser.parse(rewritten.data(), rewritten.size()).get(root);
    }
    if (failure != simdjson::SUCCESS) return std::nullopt;
    return object(root);
}

std::optional<std::string_view> JSONValue::string(simdjson::dom::element value) {
    std::string_view text;
    if (value.get_string().get(text) != simdjson::SUCCESS) return std::nullopt;
    return text;
}

std::optional<std::int64_t> JSONValue::exactInteger(simdjson::dom::element value) {
    switch (value.type()) {
        case simdjson::dom::element_type::INT64:
            return value.get_int64().value_unsafe();
        case simdjson::dom::element_type::DOUBLE: {
            const double number = value.get_double().value_unsafe();
            // 2^63 is exact as a double; every double from -2^63 up to below
            // it that has no fraction converts without loss.
            constexpr double limit = 9223372036854775808.0;
            if (!(number >= -limit && number < limit) || std::trunc(number) != number) {
                return std::nullopt;
            }
            return static_cast<std::int64_t>(number);
        }
        default:
            // UINT64 holds only values above the signed range.
            return std::nullopt;
    }
}

std::optional<bool> JSONValue::boolean(simdjson::dom::element value) {
    bool flag = false;
    if (value.get_bool().get(flag) != simdjson::SUCCESS) return std::nullopt;
    return flag;
}

std::optional<simdjson::dom::object> JSONValue::object(simdjson::dom::element value) {
    simdjson::dom::object members;
    if (value.get_object().get(members) != simdjson::SUCCESS) return std::nullopt;
    return members;
}

std::optional<simdjson::dom::array> JSONValue::array(simdjson::dom::element value) {
    simdjson::dom::array entries;
    if (value.get_array().get(entries) != simdjson::SUCCESS) return std::nullopt;
    return entries;
}

std::optional<simdjson::dom::element> JSONValue::member(simdjson::dom::object members,
                                                        std::string_view key) {
    std::optional<simdjson::dom::element> found;
    for (const auto entry : members) {
        if (entry.key == key) found = entry.value;
    }
    return found;
}

std::optional<std::vector<std::string_view>> JSONValue::strings(simdjson::dom::element value) {
    const auto entries = array(value);
    if (!entries) return std::nullopt;
    std::vector<std::string_view> texts;
    texts.reserve(entries->size());
    for (simdjson::dom::element entry : *entries) {
        const auto text = string(entry);
        if (!text) return std::nullopt;
        texts.push_back(*text);
    }
    return texts;
}

std::optional<std::string> JSONValue::withHugeNumbersAsNull(std::string_view json) {
    std::string rewritten;
    bool changed = false;
    size_t copiedUpTo = 0;
    size_t index = 0;
    while (index < json.size()) {
        const char character = json[index];
        if (character == '"') {
            // Skip the string, escapes and all; an unterminated one runs to
            // the end, and the parse fails on it as before.
            ++index;
            while (index < json.size() && json[index] != '"')
                index += json[index] == '\\' ? 2 : 1;
            ++index;
            continue;
        }
        if (!isDigit(character) && character != '-') {
            ++index;
            continue;
        }
        size_t end = index;
        while (end < json.size() && isNumberCharacter(json[end]))
            ++end;
        const std::string_view token = json.substr(index, end - index);
        if (isNumberToken(token) && isHugeNumber(token)) {
            rewritten.append(json.substr(copiedUpTo, index - copiedUpTo));
            rewritten.append("null");
            copiedUpTo = end;
            changed = true;
        }
        index = end;
    }
    if (!changed) return std::nullopt;
    rewritten.append(json.substr(copiedUpTo));
    return rewritten;
}

bool JSONValue::isNumberToken(std::string_view token) {
    const auto digitsEnd = [&](size_t from) {
        while (from < token.size() && isDigit(token[from]))
            ++from;
        return from;
    };
    size_t index = 0;
    if (index < token.size() && token[index] == '-') ++index;
    if (index >= token.size()) return false;
    if (token[index] == '0') {
        ++index;
    } else {
        const size_t end = digitsEnd(index);
        if (end == index) return false;
        index = end;
    }
    if (index < token.size() && token[index] == '.') {
        const size_t end = digitsEnd(index + 1);
        if (end == index + 1) return false;
        index = end;
    }
    if (index < token.size() && (token[index] == 'e' || token[index] == 'E')) {
        ++index;
        if (index < token.size() && (token[index] == '+' || token[index] == '-')) ++index;
        const size_t end = digitsEnd(index);
        if (end == index) return false;
        index = end;
    }
    return index == token.size();
}

}  // namespace vorn
