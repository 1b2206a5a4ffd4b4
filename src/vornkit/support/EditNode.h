#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vorn {

struct EditPair;

// One node of the line editor's tree. It holds no values, only where things
// stand: zero-based indexes into the document's lines as they were when it
// was parsed.
class EditNode {
  public:
    // A value on `line`; `end` is the last line of its folded continuation.
    struct Scalar {
        int line = 0;
        int end = 0;
    };
    // A key or a dash with nothing behind it and no nested block.
    struct Null {
        int line = 0;
    };
    // `declaringLine` opens the block (the "key:" line, the dash line of an
    // item, the line of "key: {}"), -1 for the document's root. `contentEnd`
    // is the last line of its last child, or `declaringLine` without one;
    // comments behind the last child are not part of the block.
    struct MapValue {
        std::vector<EditPair> pairs;  // file order; the first of equal keys wins
        int declaringLine = -1;
        int contentEnd = -1;
    };
    struct SeqValue {
        std::vector<EditNode> items;
        int declaringLine = -1;
        int contentEnd = -1;
    };

    // The special members live in the source file, where EditPair is
    // complete.
    EditNode(Scalar scalar);
    EditNode(Null null);
    EditNode(MapValue map);
    EditNode(SeqValue seq);
    EditNode(const EditNode&);
    EditNode(EditNode&&) noexcept;
    EditNode& operator=(const EditNode&);
    EditNode& operator=(EditNode&&) noexcept;
    ~EditNode();

    const Scalar* scalar() const { return std::get_if<Scalar>(&value); }
    const Null* null() const { return std::get_if<Null>(&value); }
    const MapValue* map() const { return std::get_if<MapValue>(&value); }
    const SeqValue* seq() const { return std::get_if<SeqValue>(&value); }

    // The last line that belongs to the node.
    int end() const;
    // The line on which the node starts. The root map starts where its
    // first value does.
    int anchorLine() const;

    // The value of the first pair with exactly this key, or the item at
    // this decimal index (a sign is allowed); nullptr otherwise.
    const EditNode* child(std::string_view component) const;

  private:
    std::variant<Scalar, Null, MapValue, SeqValue> value;
};

struct EditPair {
    std::string key;
    EditNode value;
};

}  // namespace vorn
