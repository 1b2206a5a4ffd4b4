#include "model/VornStatusDocument.h"

#include <simdjson.h>

#include <string>
#include <utility>

#include "support/JSONValue.h"
#include "support/RawValue.h"

namespace vorn {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

// Typed reads of one member; the wrong type reads as absent.

std::optional<std::string> text(object members, std::string_view key) {
    const auto value = JSONValue::member(members, key);
    if (!value) return std::nullopt;
    const auto found = JSONValue::string(*value);
    if (!found) return std::nullopt;
    return std::string(*found);
}

std::optional<std::string> nonEmptyText(object members, std::string_view key) {
    auto found = text(members, key);
    if (found && found->empty()) return std::nullopt;
    return found;
}

bool flag(object members, std::string_view key) {
    const auto value = JSONValue::member(members, key);
    return value && JSONValue::boolean(*value).value_or(false);
}

std::optional<object> objectMember(object members, std::string_view key) {
    const auto value = JSONValue::member(members, key);
    return value ? JSONValue::object(*value) : std::nullopt;
}

// The objects of an array member, in order; entries of another type are
// passed over, and a member that is no array gives none.
std::vector<object> objectEntries(object members, std::string_view key) {
    std::vector<object> entries;
    const auto value = JSONValue::member(members, key);
    const auto array = value ? JSONValue::array(*value) : std::nullopt;
    if (!array) return entries;
    for (element entry : *array) {
        if (const auto entryObject = JSONValue::object(entry)) entries.push_back(*entryObject);
    }
    return entries;
}

std::optional<VornToolchain> readToolchain(object members) {
    auto name = text(members, "name");
    if (!name) return std::nullopt;
    VornToolchain toolchain;
    toolchain.name = std::move(*name);
    toolchain.harness = text(members, "harness");
    toolchain.bin = text(members, "bin");
    toolchain.launcher = text(members, "launcher");
    toolchain.model = text(members, "model");
    return toolchain;
}

VornShip readShip(object members, const std::filesystem::path& configFile) {
    VornShip ship;
    ship.name = text(members, "name").value_or("this ship");
    ship.platform = text(members, "platform").value_or("macos");
    if (const auto agent = objectMember(members, "agent")) {
        ship.agentBin = text(*agent, "bin");
        ship.agentModel = text(*agent, "model");
    }
    for (object entry : objectEntries(members, "toolchains")) {
        if (auto found = readToolchain(entry)) ship.toolchains.push_back(std::move(*found));
    }
    ship.defaultToolchain = text(members, "toolchain");
    const auto stateDir = text(members, "stateDir");
    ship.stateDir =
        stateDir ? std::filesystem::path(*stateDir) : configFile.parent_path() / "state";
    ship.logFile = text(members, "logFile").value_or("/tmp/vorn.log");
    return ship;
}

std::optional<VornRepo> readRepo(object members) {
    auto name = text(members, "name");
    auto dir = text(members, "dir");
    if (!name || !dir) return std::nullopt;
    VornRepo repo;
    repo.name = std::move(*name);
    repo.dir = std::move(*dir);
    repo.worktreePrefix = text(members, "worktreePrefix");
    return repo;
}

std::optional<VornRoute> readRoute(object members, const VornShip& ship) {
    auto name = text(members, "name");
    if (!name) return std::nullopt;
    VornRoute route;
    route.name = std::move(*name);
    route.workspace = VornRoute::workspaceOf(route.name);
    route.project = VornRoute::projectOf(route.name);
    for (object entry : objectEntries(members, "repos")) {
        if (auto found = readRepo(entry)) route.repos.push_back(std::move(*found));
    }
    route.enabled = flag(members, "enabled");
    route.area = text(members, "area");
    // A route that only repeats the ship's default overrides nothing.
    const auto toolchain = text(members, "toolchain");
    if (toolchain != ship.defaultToolchain) route.toolchain = toolchain;
    route.baseUrl = text(members, "baseUrl");
    // Unlike vorn.yaml's default, which takes the project part only, the
    // scheduler's own prefix follows from the whole route name.
    const bool firstRepoHasPrefix = !route.repos.empty() && route.repos.front().worktreePrefix;
    route.worktreePrefix =
        firstRepoHasPrefix ? *route.repos.front().worktreePrefix : route.name + "-issue-";
    return route;
}

std::optional<VornSeatIdentity> readSeat(object members) {
    const auto roleName = text(members, "role");
    const auto role = roleName ? fromRaw<VornRole>(*roleName) : std::nullopt;
    if (!role) return std::nullopt;
    VornSeatIdentity seat;
    seat.role = *role;
    seat.name = nonEmptyText(members, "name");
    seat.personaName = nonEmptyText(members, "personaName");
    return seat;
}

VornConfig readConfig(object document, const std::filesystem::path& fallbackConfigFile,
                      object shipMembers) {
    VornConfig config;
    const auto configFile = text(document, "configFile");
    config.configFile = configFile ? std::filesystem::path(*configFile) : fallbackConfigFile;
    config.ship = readShip(shipMembers, config.configFile);
    if (const auto routeMembers = objectMember(document, "route")) {
        if (auto found = readRoute(*routeMembers, config.ship))
            config.routes.push_back(std::move(*found));
    }
    if (const auto eventFile = text(shipMembers, "eventFile"))
        config.eventFileOverride = *eventFile;
    if (const auto vorn = objectMember(document, "vorn")) {
        for (object entry : objectEntries(*vorn, "seats")) {
            if (auto found = readSeat(entry)) config.seats.push_back(std::move(*found));
        }
    }
    return config;
}

// Present only with a drift this application knows.
std::optional<ShipNameStatus> readShipName(object document) {
    const auto driftName = text(document, "nameDrift");
    const auto drift = driftName ? fromRaw<ShipNameDrift>(*driftName) : std::nullopt;
    if (!drift) return std::nullopt;
    return ShipNameStatus{text(document, "rowName"), *drift};
}

std::optional<PassengerStatus> readPassenger(object document) {
    const auto members = objectMember(document, "passenger");
    if (!members) return std::nullopt;
    return PassengerStatus{flag(*members, "connected"), flag(*members, "active")};
}

}  // namespace

std::optional<VornStatusDocument> VornStatusDocument::decode(
    std::string_view json, const std::filesystem::path& fallbackConfigFile) {
    simdjson::dom::parser parser;
    std::string rewritten;
    // A number no machine type holds is of no type this document reads, so
    // it counts as absent rather than failing the whole answer.
    const auto document = JSONValue::parseObject(parser, json, rewritten);
    if (!document) return std::nullopt;
    const auto versionValue = JSONValue::member(*document, "version");
    const std::int64_t version =
        versionValue ? JSONValue::exactInteger(*versionValue).value_or(0) : 0;
    const auto shipMembers = objectMember(*document, "ship");
    if (version != 1 || !shipMembers) return std::nullopt;

    VornStatusDocument status;
    status.version = version;
    status.config = readConfig(*document, fallbackConfigFile, *shipMembers);
    for (object entry : objectEntries(*document, "attention")) {
        if (auto item = ShipAttentionItem::decode(entry)) status.shipAttention.push_back(*item);
    }
    status.shipName = readShipName(*document);
    status.passenger = readPassenger(*document);
    return status;
}

}  // namespace vorn
