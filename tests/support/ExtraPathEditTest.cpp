#include <gtest/gtest.h>

#include "common/TempDir.h"
#include "support/ExtraPathEdit.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::TempDir;
using Directories = std::vector<std::string>;

TEST(ExtraPathEditExisting, SplitsTheScalarAndDropsEmptyPieces) {
    EXPECT_EQ(ExtraPathEdit::existing("ship:\n  extraPath: \"/a::/b\"\n"),
              (Directories{"/a", "/b"}));
    EXPECT_EQ(ExtraPathEdit::existing("ship:\n  extraPath: /a\n"), (Directories{"/a"}));
    for (const char* text : {"", "ship:\n", "ship:\n  extraPath:\n    - /a\n", "a: [1]\n",
                             "ship: x\n", "ship:\n  extraPath: \"\"\n"}) {
        EXPECT_EQ(ExtraPathEdit::existing(text), Directories{}) << text;
    }
}

TEST(ExtraPathEditAdding, AppendsQuotedOrCreatesTheKey) {
    EXPECT_EQ(ExtraPathEdit::adding("/c", "ship:\n  extraPath: \"/a::/b\"  # tools\n").value(),
              "ship:\n  extraPath: \"/a:/b:/c\"  # tools\n");
    EXPECT_EQ(ExtraPathEdit::adding("/c", "# mine\nship:\n  name: x\nroutes:\n").value(),
              "# mine\nship:\n  name: x\n  extraPath: \"/c\"\nroutes:\n");
    EXPECT_EQ(ExtraPathEdit::adding("/c", "ship:\nroutes:\n").value(),
              "ship:\n  extraPath: \"/c\"\nroutes:\n");
    EXPECT_EQ(ExtraPathEdit::adding("/c", "routes:\n").value(),
              "routes:\nship:\n  extraPath: \"/c\"\n");
    // Already there: no change is needed.
    EXPECT_EQ(ExtraPathEdit::adding("/b", "ship:\n  extraPath: /a:/b\n").value(), std::nullopt);
    EXPECT_EQ(ExtraPathEdit::adding("/c", "a: [1]\n").error().reason,
              "line 1: flow collections are not supported: `[1]`");
    EXPECT_EQ(ExtraPathEdit::adding("/c", "ship: here\n").error().reason,
              "[\"ship\"] is not a map");
}

TEST(ExtraPathEditAdd, WritesTheFileOnceForTheSameFolder) {
    TempDir temp;
    const auto file = temp.write("vorn.yaml", "ship:\n  name: x  # me\n");
    EXPECT_EQ(ExtraPathEdit::add("/opt/tools/bin", file).value(), true);
    EXPECT_EQ(ExtraPathEdit::add("/opt/tools/bin", file).value(), false);
    EXPECT_EQ(TextFile::read(file).value(),
              "ship:\n  name: x  # me\n  extraPath: \"/opt/tools/bin\"\n");

    EXPECT_EQ(ExtraPathEdit::add("/x", temp / "missing.yaml").error(), "No such file or directory");
    temp.write("bad.yaml", "ship:\n  extraPath: [a]\n");
    EXPECT_FALSE(ExtraPathEdit::add("/x", temp / "bad.yaml"));
    EXPECT_EQ(TextFile::read(temp / "bad.yaml").value(), "ship:\n  extraPath: [a]\n");
}

}  // namespace
}  // namespace vorn
