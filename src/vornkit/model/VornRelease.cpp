#include "model/VornRelease.h"

#include <simdjson.h>

#include <vector>

namespace vorn {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

struct Asset {
    std::string_view name;
    std::string_view url;
};

struct FeedEntry {
    std::string_view tag;
    bool draft = false;
    bool prerelease = false;
    std::vector<Asset> assets;
};

// An absent or null flag is false; one of another type spoils the feed.
bool readFlag(object fields, std::string_view key, bool& flag) {
    element value;
    if (fields[key].get(value) != simdjson::SUCCESS || value.is_null()) return true;
    return value.get_bool().get(flag) == simdjson::SUCCESS;
}

std::optional<Asset> decodeAsset(element value) {
    object fields;
    Asset asset;
    if (value.get_object().get(fields) != simdjson::SUCCESS ||
        fields["name"].get_string().get(asset.name) != simdjson::SUCCESS ||
        fields["browser_download_url"].get_string().get(asset.url) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    return asset;
}

std::optional<FeedEntry> decodeEntry(element value) {
    object fields;
    simdjson::dom::array assets;
    FeedEntry entry;
    if (value.get_object().get(fields) != simdjson::SUCCESS ||
        fields["tag_name"].get_string().get(entry.tag) != simdjson::SUCCESS ||
        !readFlag(fields, "draft", entry.draft) ||
        !readFlag(fields, "prerelease", entry.prerelease) ||
        fields["assets"].get_array().get(assets) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    for (const element item : assets) {
        auto asset = decodeAsset(item);
        if (!asset) return std::nullopt;
        entry.assets.push_back(*asset);
    }
    return entry;
}

std::optional<std::string_view> assetURL(const FeedEntry& entry, std::string_view name) {
    for (const Asset& asset : entry.assets) {
        if (asset.name == name) return asset.url;
    }
    return std::nullopt;
}

std::optional<VornRelease> candidate(const FeedEntry& entry, std::string_view architecture,
                                     const VornVersion& minimum) {
    if (entry.draft || entry.prerelease) return std::nullopt;
    const auto version = VornVersion::parse(entry.tag);
    if (!version || *version < minimum) return std::nullopt;
    const auto tarball = assetURL(entry, VornRelease::tarballName(*version, architecture));
    const auto checksums = assetURL(entry, "SHA256SUMS");
    if (!tarball || !checksums) return std::nullopt;
    return VornRelease{*version, std::string(*tarball), std::string(*checksums)};
}

}  // namespace

std::string VornRelease::tarballName(const VornVersion& version, std::string_view architecture) {
    return "vorn-" + version.description() + "-" + std::string(platform) + "-" +
           std::string(architecture) + ".tar.gz";
}

Expected<std::optional<VornRelease>, std::string> VornRelease::newestInFeed(
    std::string_view feed, std::string_view architecture, const VornVersion& minimum) {
    simdjson::dom::parser parser;
    simdjson::dom::array entries;
    if (const auto error = parser.parse(feed).get_array().get(entries); error) {
        return Unexpected(std::string("the release list is not a JSON array (") +
                          simdjson::error_message(error) + ")");
    }
    // Every entry is decoded before any is judged, as one bad entry means
    // the feed isn't what it should be.
    std::vector<FeedEntry> decoded;
    for (const element value : entries) {
        auto entry = decodeEntry(value);
        if (!entry) return Unexpected(std::string("a release in the list lacks its tag or assets"));
        decoded.push_back(std::move(*entry));
    }
    std::optional<VornRelease> newest;
    for (const FeedEntry& entry : decoded) {
        auto release = candidate(entry, architecture, minimum);
        if (release && (!newest || newest->version < release->version)) newest = std::move(release);
    }
    return newest;
}

}  // namespace vorn
