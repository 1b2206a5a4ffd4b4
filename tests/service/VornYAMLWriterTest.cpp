#include <gtest/gtest.h>

#include "common/TempDir.h"
#include "service/VornYAMLWriter.h"
#include "support/RouteEdit.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using testing::TempDir;

const std::string kConfig =
    "# my routes\n"
    "ship:\n"
    "  name: x\n"
    "routes:\n"
    "  - route: acme/web\n"
    "    enabled: true\n"
    "    repos:\n"
    "      web: /src/web  # main\n";

class VornYAMLWriterOnDisk : public ::testing::Test {
  protected:
    std::string contents() const { return TextFile::read(file).value(); }

    TempDir temp;
    std::filesystem::path file = temp.write("vorn.yaml", kConfig);
    int reloads = 0;
    std::optional<std::filesystem::path> loaded = file;
    VornYAMLWriter writer{[this] { return loaded; }, [this] { ++reloads; }};
};

TEST_F(VornYAMLWriterOnDisk, WritesOneEditAndAsksForAReload) {
    writer.apply(0, [](EditableYAML& document, const YAMLPath& routePath) {
        return RouteEdit::setEnabled(document, routePath, false);
    });
    EXPECT_EQ(writer.editError(), std::nullopt);
    EXPECT_EQ(reloads, 1);
    std::string expected = kConfig;
    expected.replace(expected.find("enabled: true"), 13, "enabled: false");
    EXPECT_EQ(contents(), expected);
}

TEST_F(VornYAMLWriterOnDisk, ReadsTheFileFreshForEveryEdit) {
    // A person's edit in another editor a moment ago is kept.
    temp.write("vorn.yaml", kConfig + "  - route: beta\n");
    writer.apply(1, [](EditableYAML& document, const YAMLPath& routePath) {
        return RouteEdit::setRouteName(document, routePath, "gamma");
    });
    EXPECT_EQ(contents(), kConfig + "  - route: gamma\n");
}

TEST_F(VornYAMLWriterOnDisk, AFailedEditLeavesTheFileAndShowsItsText) {
    writer.apply(0, [](EditableYAML& document, const YAMLPath& routePath) {
        return RouteEdit::setAPIKey(document, routePath, "k");
    });
    EXPECT_EQ(writer.editError(), "no node at [\"routes\", \"0\", \"apiKey\"]");
    EXPECT_EQ(contents(), kConfig);
    EXPECT_EQ(reloads, 0);

    // The text stands until the next edit that succeeds.
    writer.apply(0, [](EditableYAML& document, const YAMLPath& routePath) {
        return RouteEdit::setToolchain(document, routePath, "");
    });
    EXPECT_EQ(writer.editError(), std::nullopt);
    EXPECT_EQ(reloads, 1);

    temp.write("vorn.yaml", "routes: [a]\n");
    writer.apply(0, [](EditableYAML&, const YAMLPath&) { return EditableYAML::Result{}; });
    EXPECT_EQ(writer.editError(), "line 1: flow collections are not supported: `[a]`");
    EXPECT_EQ(contents(), "routes: [a]\n");

    std::filesystem::remove(file);
    writer.apply(0, [](EditableYAML&, const YAMLPath&) { return EditableYAML::Result{}; });
    EXPECT_EQ(writer.editError(), "No such file or directory");
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(VornYAMLWriterOnDisk, WithNoConfigurationEveryEditIsNothing) {
    loaded.reset();
    bool ran = false;
    writer.apply(0, [&](EditableYAML&, const YAMLPath&) {
        ran = true;
        return EditableYAML::Result{};
    });
    EXPECT_FALSE(writer.addRoute());
    writer.removeRoute(0);
    EXPECT_FALSE(ran);
    EXPECT_EQ(writer.editError(), std::nullopt);
    EXPECT_EQ(reloads, 0);
    EXPECT_EQ(contents(), kConfig);
}

TEST_F(VornYAMLWriterOnDisk, TemplateProblemsStopTheWrite) {
    EXPECT_EQ(writer.commitWorktreeName(0, "web", "{dir}"),
              "Names no per-ticket placeholder \u2014 every ticket would get the same worktree. "
              "Use at least one of {issue} {number} {key} {slug} {tag}.");
    EXPECT_EQ(writer.commitBranchField(0, std::nullopt, BranchField::name, "{bad}"),
              "Unknown placeholder {bad}. Valid placeholders: {number}, {key}, {slug}, {role}, "
              "{tag}, {prefix}.");
    EXPECT_EQ(contents(), kConfig);
    EXPECT_EQ(reloads, 0);

    // Only the name is a template: other branch fields are written as typed.
    EXPECT_EQ(writer.commitBranchField(0, "web", BranchField::push, "{x"), std::nullopt);
    EXPECT_EQ(writer.editError(), "[\"routes\", \"0\", \"repos\", \"web\"] is not a map");

    EXPECT_EQ(writer.commitWorktreeName(0, "web", "fixed-{number}"), std::nullopt);
    EXPECT_EQ(writer.editError(), std::nullopt);
    EXPECT_EQ(contents(),
              "# my routes\nship:\n  name: x\nroutes:\n  - route: acme/web\n"
              "    enabled: true\n    repos:\n      web:  # main\n"
              "        dir: /src/web\n        worktreeName: \"fixed-{number}\"\n");
}

TEST_F(VornYAMLWriterOnDisk, AddAndRemoveRoutes) {
    writer.removeRoute(0);
    EXPECT_EQ(contents(), "# my routes\nship:\n  name: x\nroutes:\n");
    EXPECT_TRUE(writer.addRoute());
    EXPECT_EQ(contents(),
              "# my routes\nship:\n  name: x\nroutes:\n"
              "  - route: workspace-slug/project-slug\n    enabled: false\n"
              "    dir: ~/src/CHANGE-ME\n");
    EXPECT_EQ(reloads, 2);
    temp.write("vorn.yaml", "ship:\n");
    EXPECT_FALSE(writer.addRoute());
    EXPECT_EQ(writer.editError(), "no node at [\"routes\"]");
}

}  // namespace
}  // namespace vorn
