#include <gtest/gtest.h>

#include <string>

#include "support/MiniYAML.h"
#include "support/YAMLLexer.h"

namespace vorn {
namespace {

YAMLNode parsed(std::string_view text) {
    auto node = MiniYAML::parse(text);
    EXPECT_TRUE(node.has_value()) << (node ? "" : node.error().description());
    return node ? *node : YAMLNode();
}

YAMLError failure(std::string_view text) {
    auto node = MiniYAML::parse(text);
    EXPECT_FALSE(node.has_value()) << "parsed without error: " << text;
    return node ? YAMLError{} : node.error();
}

std::string scalarAt(const YAMLNode& node, std::string_view key) {
    const YAMLNode* value = node[key];
    return value != nullptr && value->string() ? *value->string() : "<absent>";
}

YAMLNode scalar(std::string text) {
    return YAMLNode::scalar(std::move(text));
}

TEST(MiniYAMLComments, TrailingCommentNeedsABlankInFront) {
    EXPECT_EQ(scalarAt(parsed("a: 1  # note"), "a"), "1");
    EXPECT_EQ(scalarAt(parsed("a: b#c"), "a"), "b#c");
    EXPECT_EQ(scalarAt(parsed("a: \"b # c\""), "a"), "b # c");
    EXPECT_EQ(scalarAt(parsed("# only\na: x"), "a"), "x");
}

TEST(MiniYAMLComments, ApostropheOpensAQuoteThatHidesTheHash) {
    EXPECT_EQ(MiniYAML::stripComment("don't # this"), "don't # this");
    EXPECT_EQ(scalarAt(parsed("a: don't # this"), "a"), "don't # this");
    // The blank in front of the hash stays; trimming is the caller's job.
    EXPECT_EQ(MiniYAML::stripComment("a: 1 # x"), "a: 1 ");
    EXPECT_EQ(MiniYAML::stripComment("#x"), "");
    EXPECT_EQ(MiniYAML::stripComment("\ta"), "    a");
}

TEST(MiniYAMLLines, EmptyCommentOnlyAndMarkersAreNull) {
    EXPECT_TRUE(parsed("").isNull());
    EXPECT_TRUE(parsed("# a\n---\n   \n# b\n").isNull());
    // Document markers are dropped wherever they stand: two documents read as one.
    const YAMLNode node = parsed("a: 1\n---\nb: 2\n...: 3\n");
    EXPECT_EQ(scalarAt(node, "b"), "2");
    EXPECT_EQ(scalarAt(node, "..."), "3");
}

TEST(MiniYAMLLines, CarriageReturnLineFeedCountsLinesTwice) {
    // Line 2 of the text is the empty piece between "\r" and "\n".
    EXPECT_EQ(failure("a: 1\r\n  - x\r\n").line, 3);
    EXPECT_EQ(scalarAt(parsed("a: 1\r\nb: 2\r\n"), "b"), "2");
    // Other separators split too.
    EXPECT_EQ(scalarAt(parsed("a: 1\u2028b: 2"), "b"), "2");
}

TEST(MiniYAMLLines, TabIndentationCountsFourBlanks) {
    const YAMLNode node = parsed("a:\n\tb: 1\n    c: 2\n");
    EXPECT_EQ(scalarAt(*node["a"], "b"), "1");
    EXPECT_EQ(scalarAt(*node["a"], "c"), "2");
}

TEST(MiniYAMLMappings, NestedBlocksKeepOrderAndDuplicates) {
    const YAMLNode node = parsed("ship:\n  name: x\n  name: y\nroutes:\n");
    ASSERT_EQ(node.kind(), YAMLNode::Kind::map);
    ASSERT_EQ(node["ship"]->pairs().size(), 2u);
    EXPECT_EQ(scalarAt(*node["ship"], "name"), "x");  // the first wins lookups
    EXPECT_TRUE(node["routes"]->isNull());
    EXPECT_EQ(node["missing"], nullptr);
    EXPECT_EQ(scalar("x")["a"], nullptr);
}

TEST(MiniYAMLMappings, ListMayStandLevelWithItsKey) {
    const YAMLNode node = parsed("a:\n- x\n- y\nb: 1\n");
    EXPECT_EQ(*node["a"], YAMLNode::seq({scalar("x"), scalar("y")}));
    EXPECT_EQ(scalarAt(node, "b"), "1");
}

TEST(MiniYAMLMappings, MisindentedKeyIsRefused) {
    const YAMLError error = failure("a:\n  - x\n b: 1\n");
    EXPECT_EQ(error, (YAMLError{3, "unexpected indentation"}));
    EXPECT_EQ(error.description(), "line 3: unexpected indentation");
}

TEST(MiniYAMLMappings, LineWithoutKeyIsRefusedWithItsText) {
    EXPECT_EQ(failure("just text"), (YAMLError{1, "expected `key: value`, got `just text`"}));
    EXPECT_EQ(failure("a: 1\nmy key:1\n"), (YAMLError{2, "expected `key: value`, got `my key:1`"}));
    EXPECT_EQ(failure("{a: 1}"), (YAMLError{1, "expected `key: value`, got `{a: 1}`"}));
}

TEST(MiniYAMLMappings, KeyAtEndOfFileIsNull) {
    EXPECT_TRUE(parsed("a: 1\nb:")["b"]->isNull());
    EXPECT_TRUE(parsed("a:\nb: 1")["a"]->isNull());
}

TEST(MiniYAMLKeys, QuotedKeysAreLiteralAndColonMayTouch) {
    EXPECT_EQ(scalarAt(parsed("\"my key\": 1"), "my key"), "1");
    EXPECT_EQ(scalarAt(parsed("\"my key\":1"), "my key"), "1");
    EXPECT_EQ(scalarAt(parsed("'a\\n': 1"), "a\\n"), "1");
    EXPECT_EQ(scalarAt(parsed("url: http://x:80/y"), "url"), "http://x:80/y");
    EXPECT_EQ(scalarAt(parsed("http://x: 1"), "http://x"), "1");
    EXPECT_EQ(failure("\"open: 1").reason, "expected `key: value`, got `\"open: 1`");
}

TEST(MiniYAMLKeys, SplitKeyTextReasons) {
    EXPECT_EQ(YAMLLexer::splitKeyText("[a]").error(), "flow collections are not supported");
    EXPECT_EQ(YAMLLexer::splitKeyText("'a: 1").error(), "unterminated quoted key");
    EXPECT_EQ(YAMLLexer::splitKeyText(": 1").error(), "no key separator");
    EXPECT_EQ(YAMLLexer::splitKeyText("'a' : 1").error(), "no key separator");
    const auto split = YAMLLexer::splitKeyText("  a b :   c d  ");
    ASSERT_TRUE(split.has_value());
    EXPECT_EQ(split->key, "a b");
    EXPECT_EQ(split->rest, "c d");
}

TEST(MiniYAMLFolding, DeeperPlainLinesFoldIntoTheValue) {
    EXPECT_EQ(scalarAt(parsed("a: b\n  c\n   d\ne: f"), "a"), "b c d");
    EXPECT_EQ(scalarAt(parsed("a: \"b\n  c\""), "a"), "b c");
    // Block scalar indicators are plain text and fold like anything else.
    EXPECT_EQ(scalarAt(parsed("a: |\n  x\n  y"), "a"), "| x y");
}

TEST(MiniYAMLFolding, DeeperKeyOrItemIsRefusedNamingTheFirstLine) {
    EXPECT_EQ(failure("a: b\n  c: d"), (YAMLError{2, "unexpected indentation after `b`"}));
    EXPECT_EQ(failure("a: b\n  more\n  - x"), (YAMLError{3, "unexpected indentation after `b`"}));
    EXPECT_EQ(failure("- b\n  -"), (YAMLError{2, "unexpected indentation after `b`"}));
}

TEST(MiniYAMLFlow, OnlyEmptyFlowFormsAreRead) {
    EXPECT_EQ(failure("a: [1, 2]"), (YAMLError{1, "flow collections are not supported: `[1, 2]`"}));
    EXPECT_EQ(*parsed("a: [ ]")["a"], YAMLNode::seq({}));
    EXPECT_EQ(*parsed("a: { }")["a"], YAMLNode::map({}));
    EXPECT_EQ(parsed("- {}\n- []"), YAMLNode::seq({YAMLNode::map({}), YAMLNode::seq({})}));
    EXPECT_EQ(failure("- {a: 1}"), (YAMLError{1, "flow collections are not supported: `{a: 1}`"}));
}

TEST(MiniYAMLSequences, ItemsMayBeMappingsOrScalars) {
    const YAMLNode node = parsed("- name: x\n  dir: y\n- z\n");
    ASSERT_EQ(node.array().size(), 2u);
    EXPECT_EQ(scalarAt(node.array()[0], "name"), "x");
    EXPECT_EQ(scalarAt(node.array()[0], "dir"), "y");
    EXPECT_EQ(node.array()[1], scalar("z"));
}

TEST(MiniYAMLSequences, NestedBlocksUnderItems) {
    const YAMLNode node = parsed("-\n  a: 1\n-\n  - x\n-\n- k:\n    - v\n");
    ASSERT_EQ(node.array().size(), 4u);
    EXPECT_EQ(scalarAt(node.array()[0], "a"), "1");
    EXPECT_EQ(node.array()[1], YAMLNode::seq({scalar("x")}));
    EXPECT_TRUE(node.array()[2].isNull());
    EXPECT_EQ(*node.array()[3]["k"], YAMLNode::seq({scalar("v")}));
}

TEST(MiniYAMLSequences, DashDropsTwoCharactersWhateverTheyAre) {
    EXPECT_EQ(parsed("- a\n-x\n-abc"), YAMLNode::seq({scalar("a"), YAMLNode(), scalar("bc")}));
    // The item text isn't trimmed.
    EXPECT_EQ(parsed("-  x"), YAMLNode::seq({scalar(" x")}));
}

TEST(MiniYAMLSequences, LinesLeftInAMappingItemAreRefused) {
    EXPECT_EQ(failure("- a: 1\n  - x"), (YAMLError{2, "unexpected indentation in list item"}));
    EXPECT_EQ(failure("- a:\n      b: 1\n    c: 2"),
              (YAMLError{3, "unexpected indentation in list item"}));
    // A deeper key behind a scalar is caught first by the fold of that scalar.
    EXPECT_EQ(failure("- a: 1\n      b: 2"), (YAMLError{2, "unexpected indentation after `1`"}));
}

TEST(MiniYAMLScalars, UnquoteRules) {
    EXPECT_EQ(MiniYAML::unquote("'it''s'"), "it's");
    EXPECT_EQ(MiniYAML::unquote("\"a\\tb\""), "a\tb");
    EXPECT_EQ(MiniYAML::unquote("\"a\\\\nb\""), "a\\\nb");  // passes run in order
    EXPECT_EQ(MiniYAML::unquote("\"say \\\"hi\\\"\""), "say \"hi\"");
    EXPECT_EQ(MiniYAML::unquote("'x"), "'x");
    EXPECT_EQ(MiniYAML::unquote("'"), "'");
    EXPECT_EQ(MiniYAML::unquote("\"x'"), "\"x'");
    EXPECT_EQ(MiniYAML::unquote("'\\n'"), "\\n");
    EXPECT_EQ(scalarAt(parsed("a: 'x"), "a"), "'x");
    EXPECT_EQ(scalarAt(parsed("a: null"), "a"), "null");
    EXPECT_EQ(scalarAt(parsed("a: ~"), "a"), "~");
}

TEST(MiniYAMLAccessors, TypedReadsOfScalars) {
    EXPECT_EQ(scalar("YES").boolValue(), true);
    EXPECT_EQ(scalar("Off").boolValue(), false);
    EXPECT_EQ(scalar("maybe").boolValue(), std::nullopt);
    EXPECT_EQ(YAMLNode().boolValue(), std::nullopt);
    EXPECT_EQ(scalar("+42").intValue(), 42);
    EXPECT_EQ(scalar("-9223372036854775808").intValue(), INT64_MIN);
    EXPECT_EQ(scalar("9223372036854775808").intValue(), std::nullopt);
    EXPECT_EQ(scalar("1.0").intValue(), std::nullopt);
    EXPECT_EQ(scalar(" 1").intValue(), std::nullopt);
    EXPECT_EQ(scalar("+-1").intValue(), std::nullopt);
    EXPECT_EQ(scalar("+").intValue(), std::nullopt);
}

TEST(MiniYAMLAccessors, CollectionViews) {
    EXPECT_TRUE(YAMLNode().array().empty());
    EXPECT_EQ(scalar("x").array(), std::vector<YAMLNode>{scalar("x")});
    const YAMLNode node = parsed("a: 1\nb:\n  c: 2\na: 3\n");
    const std::map<std::string, std::string> expected{{"a", "3"}};
    EXPECT_EQ(node.stringMap(), expected);
    EXPECT_TRUE(scalar("x").pairs().empty());
}

TEST(MiniYAMLRobustness, HostileInputEndsInAResultOrAnError) {
    const std::string longLine = "a: " + std::string(10 * 1024 * 1024, 'x');
    EXPECT_EQ(scalarAt(parsed(longLine), "a").size(), 10u * 1024 * 1024);

    std::string nested;
    for (int depth = 0; depth < 3000; ++depth)
        nested += std::string(depth, ' ') + "k:\n";
    EXPECT_TRUE(MiniYAML::parse(nested).has_value());

    std::string junk;
    for (int byte = 0; byte < 256; ++byte)
        junk.push_back(static_cast<char>(byte));
    (void)MiniYAML::parse(junk + junk);
}

}  // namespace
}  // namespace vorn
