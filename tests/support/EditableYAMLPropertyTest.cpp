#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "common/EditProperty.h"
#include "support/MiniYAML.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

// A corpus of files in the subset, written the ways people write them:
// comments everywhere, blank lines, lists level with their keys, folded
// scalars, quoted keys, tabs, CRLF, no final line feed. Files named
// "refused" are outside the editor's subset.
std::vector<std::filesystem::path> corpus() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry :
         std::filesystem::directory_iterator(VORN_TEST_FIXTURES "/yaml-corpus")) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool isRefused(const std::filesystem::path& file) {
    return file.filename().string().find("refused") != std::string::npos;
}

TEST(EditableYAMLProperty, TheCorpusIsVaried) {
    const auto files = corpus();
    EXPECT_GE(files.size(), 30u);
    size_t editable = 0;
    for (const auto& file : files) {
        if (!isRefused(file)) ++editable;
    }
    EXPECT_GE(editable, 30u);
}

TEST(EditableYAMLProperty, ParsingAndTextGiveBackEveryByte) {
    for (const auto& file : corpus()) {
        const std::string text = TextFile::readBytes(file).value();
        const auto document = EditableYAML::parse(text);
        if (isRefused(file)) {
            ASSERT_FALSE(document) << file;
            EXPECT_THAT(document.error().reason, ::testing::MatchesRegex("line [0-9]+: .+"));
            continue;
        }
        ASSERT_TRUE(document) << file << ": " << document.error().reason;
        // The empty text reads as an empty document that ends in a line feed.
        EXPECT_EQ(document->text(), text.empty() ? "\n" : text) << file;
    }
}

// Every operation at every path where it applies: the lines outside the
// edited range stay byte for byte, a refused edit changes nothing, and the
// result reads again (with the value in place) wherever it is meant to.
TEST(EditableYAMLProperty, EveryEditTouchesOnlyItsOwnLines) {
    size_t checked = 0;
    size_t readBack = 0;
    for (const auto& file : corpus()) {
        if (isRefused(file)) continue;
        const std::string text = TextFile::readBytes(file).value();
        const auto document = EditableYAML::parse(text);
        ASSERT_TRUE(document) << file;
        const bool readable = MiniYAML::parse(text).has_value();
        for (const testing::EditCase& edit : testing::editCasesFor(*document)) {
            const auto problem = testing::checkEditCase(*document, edit, readable);
            EXPECT_EQ(problem, std::nullopt) << file.filename() << ": " << *problem;
            ++checked;
            if (readable && edit.readBack) ++readBack;
        }
    }
    // A floor, so that a harness that quietly finds no paths fails.
    EXPECT_GT(checked, 800u);
    EXPECT_GT(readBack, 300u);
}

}  // namespace
}  // namespace vorn
