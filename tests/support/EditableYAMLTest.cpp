#include <gtest/gtest.h>

#include <string>

#include "support/EditableYAML.h"

namespace vorn {
namespace {

EditableYAML parsed(std::string_view text) {
    auto document = EditableYAML::parse(text);
    EXPECT_TRUE(document.has_value()) << (document ? "" : document.error().reason);
    return document ? *document : *EditableYAML::parse("");
}

std::string parseFailure(std::string_view text) {
    auto document = EditableYAML::parse(text);
    EXPECT_FALSE(document.has_value()) << "parsed: " << text;
    return document ? std::string() : document.error().reason;
}

// Runs one edit on `text` and gives the resulting text, or the error's
// reason when it fails, in which case the lines must be unchanged.
template <class Edit>
std::string edited(std::string_view text, Edit edit) {
    EditableYAML document = parsed(text);
    const std::string before = document.text();
    const EditableYAML::Result result = edit(document);
    if (!result) {
        EXPECT_EQ(document.text(), before) << "a failed edit changed the lines";
        return "error: " + result.error().reason;
    }
    return document.text();
}

// --- parsing

TEST(EditableYAMLParse, TextRoundTripsByteForByte) {
    for (const char* text : {"a: 1\n", "a: 1", "# c\n\n    a:  x  # y \n\tb: 2\n\n",
                             "a: 1\r\nb: 2\r\n", "- x\n- y", "a:\n\n\n"}) {
        EXPECT_EQ(parsed(text).text(), text);
    }
    // The empty text is an empty document that ends in a line feed.
    const EditableYAML empty = parsed("");
    EXPECT_TRUE(empty.lines().empty());
    EXPECT_TRUE(empty.trailingNewline());
    EXPECT_EQ(empty.text(), "\n");
}

TEST(EditableYAMLParse, RecordsLinesOfEveryNode) {
    const EditableYAML document = parsed(
        "# head\n"           // 0
        "ship:\n"            // 1
        "  name: x  # n\n"   // 2
        "  long: a\n"        // 3
        "    b\n"            // 4
        "routes:\n"          // 5
        "- route: r\n"       // 6
        "  enabled: true\n"  // 7
        "# tail\n"           // 8
        "empty: []\n"        // 9
        "nothing:\n");       // 10
    const EditNode::MapValue* ship = document.node({"ship"})->map();
    ASSERT_NE(ship, nullptr);
    EXPECT_EQ(ship->declaringLine, 1);
    EXPECT_EQ(ship->contentEnd, 4);
    const EditNode::Scalar* longValue = document.node({"ship", "long"})->scalar();
    ASSERT_NE(longValue, nullptr);
    EXPECT_EQ(longValue->line, 3);
    EXPECT_EQ(longValue->end, 4);

    const EditNode::SeqValue* routes = document.node({"routes"})->seq();
    ASSERT_NE(routes, nullptr);
    EXPECT_EQ(routes->declaringLine, 5);
    EXPECT_EQ(routes->contentEnd, 7);
    const EditNode::MapValue* item = document.node({"routes", "0"})->map();
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->declaringLine, 6);
    EXPECT_EQ(document.node({"routes", "0", "route"})->scalar()->line, 6);

    const EditNode::SeqValue* empty = document.node({"empty"})->seq();
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->items.empty());
    EXPECT_EQ(empty->declaringLine, 9);
    EXPECT_EQ(empty->contentEnd, 9);
    EXPECT_EQ(document.node({"nothing"})->null()->line, 10);

    const EditNode::MapValue* root = document.root().map();
    EXPECT_EQ(root->declaringLine, -1);
    EXPECT_EQ(root->contentEnd, 10);
    EXPECT_EQ(document.root().anchorLine(), 1);
}

TEST(EditableYAMLParse, PathsFindTheFirstKeyAndSignedIndexes) {
    const EditableYAML document = parsed("a: 1\na: 2\nl:\n  - x\n  - y\n");
    EXPECT_EQ(document.node({"a"})->scalar()->line, 0);
    EXPECT_EQ(document.node({"l", "1"}), document.node({"l", "+1"}));
    EXPECT_EQ(document.node({"l", "-0"}), document.node({"l", "0"}));
    for (const char* bad : {"2", "-1", "", " 1", "1x", "x"}) {
        EXPECT_EQ(document.node({"l", bad}), nullptr) << bad;
    }
    EXPECT_EQ(document.node({"a", "b"}), nullptr);
    EXPECT_EQ(document.node({"missing"}), nullptr);
    EXPECT_EQ(document.node({}), &document.root());
}

TEST(EditableYAMLParse, ListsLevelWithTheirKeyAndDashForms) {
    const EditableYAML document = parsed("repos:\n- a\n- b\nnext:\n  -\n    k: v\n  -\n");
    ASSERT_NE(document.node({"next", "1"}), nullptr);
    EXPECT_EQ(document.node({"repos"})->seq()->items.size(), 2u);
    // A "-" with a deeper block holds that block; a "-" alone is null.
    EXPECT_NE(document.node({"next", "0", "k"}), nullptr);
    EXPECT_NE(document.node({"next", "1"})->null(), nullptr);
    // A bare "-" level with its key doesn't open a list: the key is null and
    // the dash is left over.
    EXPECT_EQ(parseFailure("bare:\n-\n"), "line 2: expected `key: value`, got `-`");
}

TEST(EditableYAMLParse, CommentsOnlyIsAnEmptyDocument) {
    const EditableYAML document = parsed("# one\n\n# two\n---\n");
    const EditNode::MapValue* root = document.root().map();
    ASSERT_NE(root, nullptr);
    EXPECT_TRUE(root->pairs.empty());
    EXPECT_EQ(root->declaringLine, -1);
    EXPECT_EQ(root->contentEnd, -1);
    // "..." is content, not a marker.
    EXPECT_EQ(parseFailure("...\n"), "line 1: expected `key: value`, got `...`");
}

TEST(EditableYAMLParse, RefusesWhatIsOutsideTheSubset) {
    EXPECT_EQ(parseFailure("a: [a, b]\n"), "line 1: flow collections are not supported: `[a, b]`");
    EXPECT_EQ(parseFailure("a:\n  - {a: 1}\n"),
              "line 2: flow collections are not supported: `{a: 1}`");
    EXPECT_EQ(parseFailure("a: b\n  c: d\n"), "line 2: unexpected indentation");
    EXPECT_EQ(parseFailure("a: b\n  - c\n"), "line 2: unexpected indentation");
    EXPECT_EQ(parseFailure("a:\n  b: 1\n c: 2\n"), "line 3: unexpected indentation");
    EXPECT_EQ(parseFailure("- a:\n      b: 1\n    c: 2\n"),
              "line 3: unexpected indentation in list item");
    EXPECT_EQ(parseFailure("# x\njust text\n"), "line 2: expected `key: value`, got `just text`");
    EXPECT_EQ(parseFailure("my key:1\n"), "line 1: expected `key: value`, got `my key:1`");
    // The empty flow forms and quoted keys without a blank parse.
    const EditableYAML document = parsed("a: [ ]\nb: { }\n\"my key\":1\n'x y': 2\n");
    EXPECT_NE(document.node({"my key"}), nullptr);
    EXPECT_NE(document.node({"x y"}), nullptr);
}

TEST(EditableYAMLParse, TabsCountFourBlanksAndCarriageReturnsStayInTheLine) {
    const EditableYAML document = parsed("a:\n\tb: 1\n    c: 2\n");
    EXPECT_EQ(document.node({"a"})->map()->pairs.size(), 2u);
    EXPECT_EQ(document.lines()[1], "\tb: 1");
    // A carriage return is content: "a:\r" has no key separator.
    EXPECT_EQ(parseFailure("a:\r\n  b: 1\r\n"), "line 1: expected `key: value`, got `a:\r`");
    EXPECT_EQ(parsed("a: 1\r\nb: 2\r\n").lines()[0], "a: 1\r");
}

// --- setScalar and its line rewriting

TEST(EditableYAMLSetScalar, KeepsIndentKeyAndCommentAtTwoBlanks) {
    const auto set = [](std::string_view text, YAMLPath path, std::string value) {
        return edited(text, [&](EditableYAML& d) { return d.setScalar(path, value); });
    };
    EXPECT_EQ(set("a: 1  # note\n", {"a"}, "2"), "a: 2  # note\n");
    EXPECT_EQ(set("a: 1 # note\n", {"a"}, "2"), "a: 2  # note\n");
    // On the write side only a blank opens a comment, not a tab: the text
    // behind a tab is part of the old value and goes with it.
    EXPECT_EQ(set("a: 1\t# note", {"a"}, "2"), "a: 2");
    EXPECT_EQ(set("a: \"x # y\"\n", {"a"}, "z"), "a: z\n");
    EXPECT_EQ(set("a: x#y\n", {"a"}, "z"), "a: z\n");
    EXPECT_EQ(set("\"my key\":  1\n", {"my key"}, "2"), "\"my key\": 2\n");
    EXPECT_EQ(set("l:\n  - x  # c\n", {"l", "0"}, "y"), "l:\n  - y  # c\n");
    EXPECT_EQ(set("l:\n  - name: x\n    dir: d\n", {"l", "0", "name"}, "y"),
              "l:\n  - name: y\n    dir: d\n");
    // Folded continuation lines go; an indent of tabs is written as blanks.
    EXPECT_EQ(set("a: one\n  two\n  three\nb: 1\n", {"a"}, "x"), "a: x\nb: 1\n");
    EXPECT_EQ(set("m:\n\tk: v\n", {"m", "k"}, "w"), "m:\n    k: w\n");
    EXPECT_EQ(set("a: 1\r\nb: 2\r\n", {"b"}, "3"), "a: 1\r\nb: 3\n");
}

TEST(EditableYAMLSetScalar, RefusesWhatIsNotAnExistingScalar) {
    const auto set = [](std::string_view text, YAMLPath path) {
        return edited(text, [&](EditableYAML& d) { return d.setScalar(path, "v"); });
    };
    EXPECT_EQ(set("a: 1\n", {"routes", "0", "apiKey"}),
              "error: no node at [\"routes\", \"0\", \"apiKey\"]");
    EXPECT_EQ(set("a:\n", {"a"}), "error: [\"a\"] is not a scalar");
    EXPECT_EQ(set("a:\n  b: 1\n", {"a"}), "error: [\"a\"] is not a scalar");
    EXPECT_EQ(set("a: 1\n", {}), "error: [] is not a scalar");
    EXPECT_EQ(set("a: 1\n", {"say \"hi\"", "back\\slash", "tab\t"}),
              "error: no node at [\"say \\\"hi\\\"\", \"back\\\\slash\", \"tab\\t\"]");
}

TEST(EditableYAMLSetScalar, BoolsAndNumbers) {
    EXPECT_EQ(edited("on: no\n", [](EditableYAML& d) { return d.setBool({"on"}, true); }),
              "on: true\n");
    EXPECT_EQ(EditableYAML::numberText(3), "3");
    EXPECT_EQ(EditableYAML::numberText(-0.0), "0");
    EXPECT_EQ(EditableYAML::numberText(-42), "-42");
    EXPECT_EQ(EditableYAML::numberText(999999999999999), "999999999999999");
    EXPECT_EQ(EditableYAML::numberText(1e15), "1e+15");
    EXPECT_EQ(EditableYAML::numberText(2.5), "2.5");
    EXPECT_EQ(EditableYAML::numberText(0.1), "0.1");
    EXPECT_EQ(edited("w: 1\n", [](EditableYAML& d) { return d.setNumber({"w"}, 7.0); }), "w: 7\n");
}

// --- removal and the lines an entry claims

TEST(EditableYAMLRemove, AnEntryTakesTheCommentsAboveIt) {
    const std::string text =
        "# about a\n"
        "a: 1\n"
        "# about b\n"
        "\n"
        "b: 2  # why\n"
        "c:\n"
        "  # about d\n"
        "  d: 1\n"
        "  e: 2\n"
        "  # trailing, nobody's\n";
    const auto removed = [&](YAMLPath path) {
        return edited(text, [&](EditableYAML& d) { return d.removeKey(path); });
    };
    EXPECT_EQ(removed({"a"}),
              "# about b\n\nb: 2  # why\nc:\n  # about d\n  d: 1\n  e: 2\n"
              "  # trailing, nobody's\n");
    EXPECT_EQ(removed({"b"}),
              "# about a\na: 1\nc:\n  # about d\n  d: 1\n  e: 2\n"
              "  # trailing, nobody's\n");
    EXPECT_EQ(removed({"c", "d"}),
              "# about a\na: 1\n# about b\n\nb: 2  # why\nc:\n  e: 2\n"
              "  # trailing, nobody's\n");
    EXPECT_EQ(removed({"c"}),
              "# about a\na: 1\n# about b\n\nb: 2  # why\n"
              "  # trailing, nobody's\n");
}

TEST(EditableYAMLRemove, ListItemsAndTheirFirstKeyOnTheDashLine) {
    const std::string text =
        "routes:\n"
        "  # first\n"
        "  - route: a\n"
        "    enabled: true\n"
        "  - route: b\n";
    EXPECT_EQ(edited(text, [](EditableYAML& d) { return d.removeListItem({"routes"}, 0); }),
              "routes:\n  - route: b\n");
    EXPECT_EQ(edited(text,
                     [](EditableYAML& d) {
                         return d.removeKey({"routes", "1"});
                     }),
              "routes:\n  # first\n  - route: a\n    enabled: true\n");
    // The dash line goes with the first key; the keys behind it stay dashless.
    EXPECT_EQ(edited(text,
                     [](EditableYAML& d) {
                         return d.removeKey({"routes", "0", "route"});
                     }),
              "routes:\n  # first\n    enabled: true\n  - route: b\n");
    // Removing the last item leaves "routes:", which then reads as null.
    const std::string emptied = edited("routes:\n  - route: a\n", [](EditableYAML& d) {
        return d.removeKey({"routes", "0"});
    });
    EXPECT_EQ(emptied, "routes:\n");
    EXPECT_NE(parsed(emptied).node({"routes"})->null(), nullptr);
}

TEST(EditableYAMLRemove, ClaimedRangeErrors) {
    const EditableYAML document = parsed("a: 1\nl:\n  - x\n");
    EXPECT_EQ(document.claimedRange({}).error().reason, "cannot remove the document root");
    EXPECT_EQ(document.claimedRange({"x", "y"}).error().reason, "no node at [\"x\"]");
    EXPECT_EQ(document.claimedRange({"a", "y"}).error().reason, "[\"a\"] has no children");
    EXPECT_EQ(document.claimedRange({"b"}).error().reason, "no key \"b\" at [\"b\"]");
    EXPECT_EQ(document.claimedRange({"l", "1"}).error().reason, "no item 1 at [\"l\", \"1\"]");
    EXPECT_EQ(document.claimedRange({"l", "one"}).error().reason,
              "no item one at [\"l\", \"one\"]");
    EXPECT_EQ(document.claimedRange({"l", "0"}).value(), (EditableYAML::LineRange{2, 3}));
}

// --- insertion

TEST(EditableYAMLAppendMapEntry, GoesBehindTheLastChildBeforeTrailingComments) {
    const auto append = [](std::string_view text, YAMLPath path) {
        return edited(text, [&](EditableYAML& d) { return d.appendMapEntry(path, "k", "v"); });
    };
    EXPECT_EQ(append("ship:\n    name: x\n    # next block\nroutes:\n", {"ship"}),
              "ship:\n    name: x\n    k: v\n    # next block\nroutes:\n");
    EXPECT_EQ(append("a:\n  b: 1\n", {"a"}), "a:\n  b: 1\n  k: v\n");
    EXPECT_EQ(append("a: {}  # later\n", {"a"}), "a:  # later\n  k: v\n");
    EXPECT_EQ(append("  a:\n", {"a"}), "  a:\n    k: v\n");
    // The first key of an empty document gets two blanks and goes above any
    // comment.
    EXPECT_EQ(append("", {}), "  k: v\n");
    EXPECT_EQ(append("# one\n# two", {}), "  k: v\n# one\n# two");
    // A map opening on a dash line takes the dash's indentation.
    EXPECT_EQ(append("r:\n  - route: x\n    on: 1\n", {"r", "0"}),
              "r:\n  - route: x\n    on: 1\n  k: v\n");
    EXPECT_EQ(append("a: 1\n", {"a"}), "error: [\"a\"] is not a map");
    EXPECT_EQ(append("a:\n  - 1\n", {"a"}), "error: [\"a\"] is not a map");
    EXPECT_EQ(append("a: 1\n", {"b"}), "error: no node at [\"b\"]");
}

TEST(EditableYAMLAppendListItem, TakesTheListsColumn) {
    const auto append = [](std::string_view text, YAMLPath path, ListItemContent item) {
        return edited(text, [&](EditableYAML& d) { return d.appendListItem(path, item); });
    };
    const auto route = ListItemContent::mapping({{"route", "x"}, {"enabled", "false"}});
    EXPECT_EQ(append("repos:\n- a\n# c\n", {"repos"}, ListItemContent::scalar("b")),
              "repos:\n- a\n- b\n# c\n");
    EXPECT_EQ(append("r:\n    - route: a\n      on: 1\n", {"r"}, route),
              "r:\n    - route: a\n      on: 1\n    - route: x\n      enabled: false\n");
    EXPECT_EQ(append("r:\n", {"r"}, route), "r:\n  - route: x\n    enabled: false\n");
    EXPECT_EQ(append("  r: []  # later\n", {"r"}, ListItemContent::scalar("b")),
              "  r:  # later\n    - b\n");
    EXPECT_EQ(append("r: 1\n", {"r"}, route), "error: [\"r\"] is not a sequence");
    EXPECT_EQ(append("r:\n  a: 1\n", {"r"}, route), "error: [\"r\"] is not a sequence");
    EXPECT_EQ(append("r: []\n", {"r"}, ListItemContent::mapping({})),
              "error: a mapping list item needs at least one pair");
    EXPECT_EQ(append("r: []\n", {"x"}, route), "error: no node at [\"x\"]");
}

TEST(EditableYAMLSetOrCreateNested, SetsAppendsOrCreatesTheBlock) {
    const auto nest = [](std::string_view text) {
        return edited(text, [](EditableYAML& d) {
            return d.setOrCreateNested({"r"}, "branch", "name", "issue-{number}");
        });
    };
    EXPECT_EQ(nest("r:\n  branch:\n    name: old  # c\n"),
              "r:\n  branch:\n    name: issue-{number}  # c\n");
    EXPECT_EQ(nest("r:\n  branch:\n    base: main\n"),
              "r:\n  branch:\n    base: main\n    name: issue-{number}\n");
    EXPECT_EQ(nest("r:\n  branch:\n  x: 1\n"), "r:\n  branch:\n    name: issue-{number}\n  x: 1\n");
    EXPECT_EQ(nest("r:\n  x: 1\n# end\n"),
              "r:\n  x: 1\n  branch:\n    name: issue-{number}\n# end\n");
    EXPECT_EQ(nest("r:\n  branch: main\n"), "error: [\"r\", \"branch\"] is not a map");
    EXPECT_EQ(nest("q: 1\n"), "error: no node at [\"r\"]");
    EXPECT_EQ(nest("r: 1\n"), "error: [\"r\"] is not a map");
    EXPECT_EQ(edited("# only\n",
                     [](EditableYAML& d) { return d.setOrCreateNested({}, "ship", "p", "v"); }),
              "  ship:\n    p: v\n# only\n");
}

TEST(EditableYAMLExpandScalarToMap, MovesTheValueUnderAKey) {
    const auto expand = [](std::string_view text, YAMLPath path) {
        return edited(text, [&](EditableYAML& d) { return d.expandScalarToMap(path, "dir"); });
    };
    EXPECT_EQ(expand("repos:\n  web: /src/web  # main\n", {"repos", "web"}),
              "repos:\n  web:  # main\n    dir: /src/web\n");
    EXPECT_EQ(expand("repos:\n  web:\n    dir: /x\n", {"repos", "web"}),
              "repos:\n  web:\n    dir: /x\n");
    EXPECT_EQ(expand("l:\n  - /x\n", {"l", "0"}), "error: [\"l\", \"0\"] has no key");
    EXPECT_EQ(expand("a:\n", {"a"}), "error: [\"a\"] is not a scalar");
    EXPECT_EQ(expand("a:\n  - 1\n", {"a"}), "error: [\"a\"] is not a scalar");
    EXPECT_EQ(expand("a: 1\n", {"b"}), "error: no node at [\"b\"]");
}

TEST(EditableYAMLRenameMapKey, RewritesTheKeyUpToTheFirstColon) {
    const auto rename = [](std::string_view text, YAMLPath path) {
        return edited(text, [&](EditableYAML& d) { return d.renameMapKey(path, "site"); });
    };
    EXPECT_EQ(rename("repos:\n  web: /x  # c\n", {"repos", "web"}), "repos:\n  site: /x  # c\n");
    EXPECT_EQ(rename("repos:\n  web:\n    dir: /x\n", {"repos", "web"}),
              "repos:\n  site:\n    dir: /x\n");
    EXPECT_EQ(rename("l:\n  - just\n", {"l", "0"}), "error: line 1 has no key");
    EXPECT_EQ(rename("a: 1\n", {"b"}), "error: no node at [\"b\"]");
}

TEST(EditableYAMLClearEmptyFlow, OnlyAnEmptyFlowValueIsCleared) {
    EditableYAML document = parsed("a: [ ]  # x\nb: x []\nc: 'a: []'\nl:\n  - []\n");
    document.clearEmptyFlow(0);
    document.clearEmptyFlow(1);
    document.clearEmptyFlow(2);
    document.clearEmptyFlow(4);
    document.clearEmptyFlow(-1);
    document.clearEmptyFlow(99);
    EXPECT_EQ(document.lines(),
              (std::vector<std::string>{"a:  # x", "b: x []", "c: 'a: []'", "l:", "  - []"}));
}

TEST(EditableYAMLLexical, KeyColonAndValueComment) {
    EXPECT_EQ(EditableYAML::findKeyColon("a: b"), 1u);
    EXPECT_EQ(EditableYAML::findKeyColon("a:"), 1u);
    EXPECT_EQ(EditableYAML::findKeyColon("http://x: y"), 8u);
    EXPECT_EQ(EditableYAML::findKeyColon("\"a: b\":c"), 6u);
    EXPECT_EQ(EditableYAML::findKeyColon("\"a\" : b"), std::nullopt);
    EXPECT_EQ(EditableYAML::findKeyColon("a:b"), std::nullopt);
    EXPECT_EQ(EditableYAML::findKeyColon(""), std::nullopt);
    EXPECT_EQ(EditableYAML::findKeyColon("{a: b}"), 2u);

    const auto split = EditableYAML::splitValueAndComment(" \t'it''s # here'  #  note ");
    EXPECT_EQ(split.value, "'it''s # here'");
    EXPECT_EQ(split.comment, "  #  note ");
    EXPECT_EQ(EditableYAML::splitValueAndComment("#x").comment, "  #x");
    EXPECT_EQ(EditableYAML::splitValueAndComment("#x").value, "");
    EXPECT_EQ(EditableYAML::splitValueAndComment(" a#b ").comment, "");
    EXPECT_EQ(EditableYAML::replacingValue("no key here", "v"), "no key here");
}

}  // namespace
}  // namespace vorn
