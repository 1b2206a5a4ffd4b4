#pragma once

#include <simdjson.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorn {

// Typed reads of a parsed JSON value, for formats where a value of the wrong
// type counts as absent rather than failing the whole document.
struct JSONValue {
    // `json` as one object, a number no machine type holds reading as null
    // (see `withHugeNumbersAsNull`); nothing when it is malformed or no
    // object. The object lives as long as the parser's document and
    // `rewritten`, which holds the text parsed when `json` itself was
    // refused.
    static std::optional<simdjson::dom::object> parseObject(simdjson::dom::parser& parser,
                                                            std::string_view json,
                                                            std::string& rewritten);

    static std::optional<std::string_view> string(simdjson::dom::element value);
    // A number that is an integer exactly and fits 64 bits: 2 and 2.0 give 2;
    // 1.5, 1e300 and 2^63 give nothing.
    static std::optional<std::int64_t> exactInteger(simdjson::dom::element value);
    static std::optional<bool> boolean(simdjson::dom::element value);
    static std::optional<simdjson::dom::object> object(simdjson::dom::element value);
    static std::optional<simdjson::dom::array> array(simdjson::dom::element value);
    // An array of strings only; one entry of another type makes it absent.
    static std::optional<std::vector<std::string_view>> strings(simdjson::dom::element value);

    // The value of the member named `key`. Of a key given twice the later
    // value stands, as when the members are read in order.
    static std::optional<simdjson::dom::element> member(simdjson::dom::object members,
                                                        std::string_view key);

    // simdjson refuses a whole document for one number no machine type
    // holds (an integer outside [-2^63, 2^64), a value beyond the largest
    // double), though the JSON is well-formed. For readers that take numbers
    // only as 64-bit integers, such a number reads the same as null: absent.
    // Gives `json` with each of them written as null, or nothing when it has
    // none. Malformed text stays malformed.
    static std::optional<std::string> withHugeNumbersAsNull(std::string_view json);

    // RFC 8259's number grammar; `token` is the number's text alone.
    static bool isNumberToken(std::string_view token);
};

}  // namespace vorn
