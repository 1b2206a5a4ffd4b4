#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "model/VornStatusDocument.h"
#include "support/TextFile.h"

namespace vorn {
namespace {

using namespace std::chrono;

const std::filesystem::path kFallback = "/home/ada/.config/vorn/found.yaml";

std::optional<VornStatusDocument> fromFixture(std::string_view name) {
    const auto text =
        TextFile::readBytes(std::filesystem::path(VORN_TEST_FIXTURES "/status") / name);
    EXPECT_TRUE(text.has_value()) << name;
    return VornStatusDocument::decode(text.value_or(""), kFallback);
}

VornStatusDocument decoded(std::string_view json) {
    auto document = VornStatusDocument::decode(json, kFallback);
    EXPECT_TRUE(document.has_value()) << json;
    return document.value_or(VornStatusDocument{});
}

// A ship with every default, as an answer without ship keys gives it.
VornShip defaultShip() {
    VornShip ship;
    ship.stateDir = "/home/ada/.config/vorn/state";
    ship.logFile = "/tmp/vorn.log";
    return ship;
}

VornStatusDocument emptyDocument() {
    VornStatusDocument document;
    document.config.configFile = kFallback;
    document.config.ship = defaultShip();
    return document;
}

VornShip fullShip() {
    VornShip ship;
    ship.name = "studio-mac";
    ship.platform = "linux";
    ship.agentBin = "/usr/local/bin/claude";
    ship.agentModel = "opus";
    ship.toolchains = {
        {"claude", "claude", "/usr/local/bin/claude", std::nullopt, "opus"},
        {"codex-fast", "codex", std::nullopt, "npx", "gpt-5"},
        {"gemini", std::nullopt, std::nullopt, std::nullopt, std::nullopt},
    };
    ship.defaultToolchain = "claude";
    ship.stateDir = "/home/ada/.local/state/vorn";
    ship.logFile = "/home/ada/.local/state/vorn/vorn.log";
    return ship;
}

VornRoute fullRoute() {
    VornRoute route;
    route.name = "acme/web";
    route.enabled = true;
    route.workspace = "acme";
    route.project = "web";
    route.area = "Frontend";
    route.baseUrl = "https://pelorinth.example/api";
    route.worktreePrefix = "web-";
    route.repos = {{"web", "/home/ada/src/web", "web-", std::nullopt, std::nullopt},
                   {"api", "/home/ada/src/api", std::nullopt, std::nullopt, std::nullopt}};
    return route;
}

std::vector<ShipAttentionItem> fullAttention() {
    const Timestamp heldSince =
        sys_days{2026y / 3 / 4} + hours{9} + minutes{58} + seconds{12} + milliseconds{250};
    return {
        {"worktree_held", "web#142", "Worktree kept: uncommitted changes", heldSince,
         HeldWorktree{"web", "/home/ada/src/acme-web-issue-142/", "WEB-142", "dirty"}},
        {"vorn_outdated", "vorn", "This workspace needs vorn minimum 2.4.0 to run", std::nullopt,
         std::nullopt},
        {"disk_low", "", "", std::nullopt, std::nullopt},
    };
}

TEST(VornStatusDocumentDecode, AFullAnswerMapsEveryKeyItReads) {
    VornStatusDocument expected;
    expected.config.configFile = "/home/ada/.config/vorn/vorn.yaml";
    expected.config.ship = fullShip();
    // The route names the ship's own toolchain, so it overrides nothing.
    expected.config.routes = {fullRoute()};
    expected.config.eventFileOverride = "/var/log/vorn/events.jsonl";
    expected.config.seats = {{VornRole::dev, "Ferris", "Ferris the Builder"},
                             {VornRole::qa, std::nullopt, std::nullopt},
                             {VornRole::triage, std::nullopt, "Sorter"}};
    expected.shipAttention = fullAttention();
    expected.shipName = ShipNameStatus{"Studio Mac", ShipNameDrift::row};
    expected.passenger = PassengerStatus{true, false};

    const auto document = fromFixture("full.json");
    ASSERT_TRUE(document.has_value());
    EXPECT_EQ(*document, expected);
    EXPECT_EQ(document->config.eventFile(), "/var/log/vorn/events.jsonl");
    EXPECT_EQ(document->shipAttention.at(1).requiredVornVersion(), (VornVersion{2, 4, 0}));
}

TEST(VornStatusDocumentDecode, TheSmallestAnswerTakesEveryDefault) {
    const auto document = fromFixture("minimal.json");
    ASSERT_TRUE(document.has_value());
    EXPECT_EQ(*document, emptyDocument());

    // A state folder beside the document's own configuration file.
    const auto relocated = decoded(R"({"version":1,"configFile":"/etc/vorn/vorn.yaml","ship":{}})");
    EXPECT_EQ(relocated.config.configFile, "/etc/vorn/vorn.yaml");
    EXPECT_EQ(relocated.config.ship.stateDir, "/etc/vorn/state");
}

TEST(VornStatusDocumentDecode, AnswersOfAnotherFormGiveNothing) {
    EXPECT_FALSE(fromFixture("later-version.json").has_value());
    for (std::string_view json : {
             "", "not json", "[1]", "null", R"("version")",
             R"({"ship":{}})",                                // no version
             R"({"version":"1","ship":{}})",                  // version a string
             R"({"version":1.5,"ship":{}})",                  // not an integer
             R"({"version":0,"ship":{}})",                    // an older one
             R"({"version":1e400,"ship":{}})",                // beyond any number
             R"({"version":1})",                              // no ship
             R"({"version":1,"ship":null})",                  // ship of the wrong type
             R"({"version":1,"ship":[]})",                    //
             R"({"version":1,"ship":{}} {})",                 // two documents
             R"({"version":1,"ship":{})",                     // cut short
             "{\"version\":1,\"ship\":{\"name\":\"\xC3\"}}",  // cut UTF-8
         }) {
        EXPECT_FALSE(VornStatusDocument::decode(json, kFallback).has_value()) << json;
    }
}

TEST(VornStatusDocumentDecode, NumbersAreReadAsTheirValue) {
    // 1.0 is the integer 1, as everywhere this application reads integers.
    EXPECT_EQ(decoded(R"({"version":1.0,"ship":{}})"), emptyDocument());
    // A number no machine holds is of no type read here, so it counts as
    // absent rather than costing the whole answer.
    EXPECT_EQ(decoded(R"({"version":1,"ship":{"name":1e400},"uptime":99999999999999999999})"),
              emptyDocument());
}

TEST(VornStatusDocumentDecode, MembersOfTheWrongTypeCountAsAbsent) {
    VornStatusDocument expected = emptyDocument();
    VornRoute route;
    route.name = "acme";
    route.workspace = "acme";
    // A JSON string "true" is not the boolean.
    route.enabled = false;
    route.worktreePrefix = "acme-issue-";
    expected.config.routes = {route};

    const auto document = fromFixture("wrong-types.json");
    ASSERT_TRUE(document.has_value());
    EXPECT_EQ(*document, expected);
}

TEST(VornStatusDocumentDecode, PartsThatDontQualifyAreLeftOutAndTheRestStands) {
    VornStatusDocument expected = emptyDocument();
    expected.config.ship.name = "lab";
    expected.config.ship.defaultToolchain = "codex";
    // An empty passenger object is a passenger, disconnected and idle.
    expected.passenger = PassengerStatus{false, false};

    // A route without a name is dropped; a drift this application doesn't
    // know leaves the name status out though the row's name is given.
    const auto document = fromFixture("unreadable-parts.json");
    ASSERT_TRUE(document.has_value());
    EXPECT_EQ(*document, expected);
}

TEST(VornStatusDocumentDecode, TheRouteToolchainIsKeptOnlyWhereItDiffersFromTheShips) {
    const auto toolchainOf = [](std::string_view ship, std::string_view route) {
        const std::string json = R"({"version":1,"ship":{)" + std::string(ship) +
                                 R"(},"route":{"name":"acme/web")" + std::string(route) + "}}";
        const auto document = decoded(json);
        return document.config.routes.empty() ? std::optional<std::string>("no route")
                                              : document.config.routes.front().toolchain;
    };
    EXPECT_EQ(toolchainOf(R"("toolchain":"claude")", R"(,"toolchain":"claude")"), std::nullopt);
    EXPECT_EQ(toolchainOf(R"("toolchain":"claude")", R"(,"toolchain":"codex")"), "codex");
    EXPECT_EQ(toolchainOf("", R"(,"toolchain":"codex")"), "codex");
    EXPECT_EQ(toolchainOf(R"("toolchain":"claude")", ""), std::nullopt);
}

TEST(VornStatusDocumentDecode, TheWorktreePrefixIsTheFirstReposOrFollowsTheWholeRouteName) {
    const auto prefixOf = [](std::string_view repos) {
        const auto document =
            decoded(R"({"version":1,"ship":{},"route":{"name":"acme/web","repos":)" +
                    std::string(repos) + "}}");
        return document.config.routes.at(0).worktreePrefix;
    };
    // Not "web-issue-", as vorn.yaml's default would have it.
    EXPECT_EQ(prefixOf("[]"), "acme/web-issue-");
    EXPECT_EQ(prefixOf(R"([{"name":"web","dir":"/w","worktreePrefix":"w-"}])"), "w-");
    // Only the first repo counts, and the first is the first that qualifies.
    EXPECT_EQ(
        prefixOf(R"([{"name":"web","dir":"/w"},{"name":"api","dir":"/a","worktreePrefix":"a-"}])"),
        "acme/web-issue-");
    EXPECT_EQ(
        prefixOf(
            R"([{"name":"web","worktreePrefix":"x-"},{"name":"api","dir":"/a","worktreePrefix":"a-"}])"),
        "a-");
}

TEST(VornStatusDocumentDecode, EveryKnownDriftGivesANameStatus) {
    for (const ShipNameDrift drift : allCases<ShipNameDrift>()) {
        const std::string json =
            R"({"version":1,"ship":{},"nameDrift":")" + std::string(rawValue(drift)) + R"("})";
        EXPECT_EQ(decoded(json).shipName, (ShipNameStatus{std::nullopt, drift})) << json;
    }
    EXPECT_EQ(decoded(R"({"version":1,"ship":{},"nameDrift":"Row","rowName":"x"})").shipName,
              std::nullopt);
}

TEST(VornStatusDocumentDecode, OfAKeyGivenTwiceTheLaterValueStands) {
    const auto document = decoded(
        R"({"version":1,"ship":{"name":"first","name":"second"},"passenger":{"active":true,"active":false}})");
    EXPECT_EQ(document.config.ship.name, "second");
    EXPECT_EQ(document.passenger, (PassengerStatus{false, false}));
}

}  // namespace
}  // namespace vorn
