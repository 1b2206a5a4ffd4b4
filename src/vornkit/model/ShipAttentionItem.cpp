#include "model/ShipAttentionItem.h"

#include <array>
#include <string_view>
#include <utility>

#include "model/VornEventDecoder.h"
#include "support/JSONValue.h"
#include "support/Text.h"

namespace vorn {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kKnownLabels{{
    {"role_parked", "Role parked"},
    {"release_stale", "Release stale"},
    {"docker_missing", "Docker missing"},
    {"base_unsafe", "Base unsafe"},
    {"stalled", "Stalled"},
    {"disk_low", "Disk low"},
    {"worktree_held", "Worktree held"},
    {"vorn_outdated", "vorn out of date"},
}};

std::optional<std::string_view> textMember(simdjson::dom::object members, std::string_view key) {
    const auto value = JSONValue::member(members, key);
    return value ? JSONValue::string(*value) : std::nullopt;
}

char upperASCII(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
}

char lowerASCII(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

// Each word's first letter upper case and the rest lower case; words are
// separated by whitespace.
std::string capitalised(std::string_view text) {
    std::string words;
    words.reserve(text.size());
    bool startsWord = true;
    for (char character : text) {
        const bool separator = Text::isWhitespace(character);
        words.push_back(separator    ? character
                        : startsWord ? upperASCII(character)
                                     : lowerASCII(character));
        startsWord = separator;
    }
    return words;
}

std::optional<HeldWorktree> heldWorktree(simdjson::dom::object members) {
    const auto path = textMember(members, "path");
    if (!path) return std::nullopt;
    HeldWorktree held;
    held.path = *path;
    held.repo = textMember(members, "repo").value_or("");
    held.ticket = textMember(members, "ticket").value_or("");
    held.reason = textMember(members, "reason").value_or("");
    return held;
}

}  // namespace

std::optional<ShipAttentionItem> ShipAttentionItem::decode(simdjson::dom::object members) {
    const auto kind = textMember(members, "kind");
    if (!kind) return std::nullopt;
    ShipAttentionItem item;
    item.kind = *kind;
    item.key = textMember(members, "key").value_or("");
    item.message = textMember(members, "message").value_or("");
    if (const auto since = textMember(members, "since"))
        item.since = VornEventDecoder::date(*since);
    if (const auto heldValue = JSONValue::member(members, "held")) {
        if (const auto heldMembers = JSONValue::object(*heldValue)) {
            item.held = heldWorktree(*heldMembers);
        }
    }
    return item;
}

std::optional<VornVersion> ShipAttentionItem::requiredVornVersion() const {
    constexpr std::string_view kMarker = "minimum ";
    if (kind != "vorn_outdated") return std::nullopt;
    const size_t marker = message.find(kMarker);
    if (marker == std::string::npos) return std::nullopt;
    const std::string_view rest = std::string_view(message).substr(marker + kMarker.size());
    size_t end = 0;
    while (end < rest.size() && !Text::isWhitespace(rest[end]))
        ++end;
    return VornVersion::parse(rest.substr(0, end));
}

std::string ShipAttentionItem::label() const {
    for (const auto& [knownKind, text] : kKnownLabels) {
        if (kind == knownKind) return std::string(text);
    }
    return capitalised(Text::replaceAll(kind, "_", " "));
}

}  // namespace vorn
