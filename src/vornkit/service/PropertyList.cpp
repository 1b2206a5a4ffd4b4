#include "service/PropertyList.h"

#include <plist/plist.h>

#include "support/TextFile.h"

namespace vorn {

namespace {

// Larger files are not property lists anyone wrote by hand or by a tool of
// ours; refusing them keeps a stray huge file from being read whole.
constexpr std::size_t kLargestList = 16 * 1024 * 1024;

plist_t valueOf(const std::shared_ptr<void>& root, std::string_view key) {
    const auto dictionary = static_cast<plist_t>(root.get());
    if (plist_get_node_type(dictionary) != PLIST_DICT) return nullptr;
    return plist_dict_get_item(dictionary, std::string(key).c_str());
}

std::optional<std::string> stringOf(plist_t node) {
    if (plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
    // Read in place: the copying accessor of the library aborts the process
    // on a string with a NUL byte inside, which a hostile file can hold.
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (text == nullptr) return std::nullopt;
    std::string value(text, static_cast<std::size_t>(length));
    // No argument or label of a real program carries a NUL.
    if (value.find('\0') != std::string::npos) return std::nullopt;
    return value;
}

}  // namespace

void PropertyList::Release::operator()(void* node) const {
    plist_free(static_cast<plist_t>(node));
}

PropertyList::PropertyList(void* root) : root(root, Release{}) {}

std::optional<PropertyList> PropertyList::read(const std::filesystem::path& file) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    if (error || size > kLargestList) return std::nullopt;
    const auto bytes = TextFile::readBytes(file);
    if (!bytes) return std::nullopt;
    return parse(*bytes);
}

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > kLargestList) return std::nullopt;
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    if (root == nullptr) return std::nullopt;
    return PropertyList(root);
}

std::optional<std::vector<std::string>> PropertyList::stringList(std::string_view key) const {
    const plist_t list = valueOf(root, key);
    if (list == nullptr || plist_get_node_type(list) != PLIST_ARRAY) return std::nullopt;
    std::vector<std::string> strings;
    const uint32_t count = plist_array_get_size(list);
    for (uint32_t index = 0; index < count; ++index) {
        auto text = stringOf(plist_array_get_item(list, index));
        if (!text) return std::nullopt;
        strings.push_back(std::move(*text));
    }
    return strings;
}

std::optional<std::int64_t> PropertyList::integer(std::string_view key) const {
    const plist_t node = valueOf(root, key);
    if (node == nullptr || plist_get_node_type(node) != PLIST_UINT) return std::nullopt;
    uint64_t raw = 0;
    plist_get_uint_val(node, &raw);
    // The library keeps every integer as 64 unsigned bits; a negative one
    // comes back in two's complement.
    return static_cast<std::int64_t>(raw);
}

}  // namespace vorn
