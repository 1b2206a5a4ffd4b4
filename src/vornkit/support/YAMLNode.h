#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vorn {

struct YAMLPair;

// One node of the reader's tree. Scalars are always text: the reader never
// guesses numbers, booleans or null.
class YAMLNode {
  public:
    enum class Kind { scalar, map, seq, null };

    // The special members live in the source file, where YAMLPair is
    // complete; some compilers instantiate them eagerly otherwise.
    YAMLNode();  // null
    YAMLNode(const YAMLNode&);
    YAMLNode(YAMLNode&&) noexcept;
    YAMLNode& operator=(const YAMLNode&);
    YAMLNode& operator=(YAMLNode&&) noexcept;
    // Takes children apart one level at a time, so that dropping a deeply
    // nested document doesn't recurse once per level.
    ~YAMLNode();
    static YAMLNode scalar(std::string text);
    static YAMLNode map(std::vector<YAMLPair> pairs);
    static YAMLNode seq(std::vector<YAMLNode> items);
    static YAMLNode null();

    Kind kind() const;
    bool isNull() const { return kind() == Kind::null; }

    // The value of the first pair with exactly this key; nullptr for a
    // missing key or on anything that isn't a map.
    const YAMLNode* operator[](std::string_view key) const;
    std::optional<std::string> string() const;
    const std::vector<YAMLPair>& pairs() const;
    // The items of a seq; empty for null; any other node alone.
    std::vector<YAMLNode> array() const;
    std::optional<bool> boolValue() const;
    std::optional<std::int64_t> intValue() const;
    // Scalar-valued pairs only; of equal keys the later wins.
    std::map<std::string, std::string> stringMap() const;

    bool operator==(const YAMLNode& other) const;

  private:
    void moveChildrenInto(std::vector<YAMLNode>& pending);

    std::variant<std::monostate, std::string, std::vector<YAMLPair>, std::vector<YAMLNode>> storage;
};

}  // namespace vorn
