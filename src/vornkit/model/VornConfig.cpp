#include "model/VornConfig.h"

#include <charconv>
#include <system_error>

#include "support/HomeFolder.h"
#include "support/MiniYAML.h"
#include "support/Text.h"
#include "support/TextFile.h"

namespace vorn {

namespace {

// Where a value must be a scalar, a mapping or list counts as absent.
std::optional<std::string> scalarAt(const YAMLNode& node, std::string_view key) {
    const YAMLNode* value = node[key];
    return value == nullptr ? std::nullopt : value->string();
}

class PathExpander {
  public:
    PathExpander(std::filesystem::path base, std::filesystem::path home)
        : base(std::move(base)), home(std::move(home)) {}

    // "~" and "~name" through the user database, then "${HOME}" and "$HOME"
    // as plain text, so "$HOMEWORK" is the home folder followed by "WORK".
    // Absolute results stand as written; others join the base, normalised.
    std::filesystem::path expand(std::string_view text) const {
        std::string expanded = HomeFolder::expandTilde(text, home);
        expanded = Text::replaceAll(expanded, "${HOME}", home.string());
        expanded = Text::replaceAll(expanded, "$HOME", home.string());
        std::filesystem::path result = expanded.starts_with('/')
                                           ? std::filesystem::path(expanded)
                                           : (base / expanded).lexically_normal();
        return withoutTrailingSlash(result);
    }

  private:
    std::filesystem::path base;
    std::filesystem::path home;

    static std::filesystem::path withoutTrailingSlash(const std::filesystem::path& path) {
        std::string text = path.string();
        while (text.size() > 1 && text.ends_with('/'))
            text.pop_back();
        return text;
    }
};

std::optional<double> parseWeight(const std::string& text) {
    std::string_view digits = text;
    // from_chars refuses a leading "+", which a decimal number may carry.
    if (digits.starts_with('+')) {
        digits.remove_prefix(1);
        if (digits.empty() || digits.front() == '-' || digits.front() == '+') return std::nullopt;
    }
    if (digits.empty()) return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return value;
}

std::optional<VornBranchOverride> readBranch(const YAMLNode& owner) {
    const YAMLNode* branch = owner["branch"];
    if (branch == nullptr) return std::nullopt;
    return VornBranchOverride{scalarAt(*branch, "base"), scalarAt(*branch, "name"),
                              scalarAt(*branch, "push"), scalarAt(*branch, "remote")};
}

VornShip readShip(const YAMLNode& ship, const PathExpander& paths) {
    VornShip result;
    if (auto name = scalarAt(ship, "name")) result.name = *name;
    if (auto platform = scalarAt(ship, "platform")) result.platform = *platform;
    if (const YAMLNode* agent = ship["agent"]) {
        result.agentBin = scalarAt(*agent, "bin");
        result.agentModel = scalarAt(*agent, "model");
    }
    if (const YAMLNode* toolchains = ship["toolchains"]) {
        for (const YAMLPair& pair : toolchains->pairs()) {
            result.toolchains.push_back(VornToolchain{
                pair.key, scalarAt(pair.value, "harness"), scalarAt(pair.value, "bin"),
                scalarAt(pair.value, "launcher"), scalarAt(pair.value, "model")});
        }
    }
    result.defaultToolchain = scalarAt(ship, "toolchain");
    result.stateDir = paths.expand(scalarAt(ship, "stateDir").value_or("state"));
    result.logFile = paths.expand(scalarAt(ship, "logFile").value_or("/tmp/vorn.log"));
    return result;
}

std::optional<VornRepo> readRepo(const YAMLPair& pair, const PathExpander& paths) {
    if (auto dir = pair.value.string()) return VornRepo{pair.key, paths.expand(*dir)};
    if (pair.value.kind() != YAMLNode::Kind::map) return std::nullopt;
    const auto dir = scalarAt(pair.value, "dir");
    if (!dir) return std::nullopt;
    VornRepo repo{pair.key, paths.expand(*dir)};
    repo.branch = readBranch(pair.value);
    repo.worktreeName = scalarAt(pair.value, "worktreeName");
    return repo;
}

std::vector<VornRepo> readRepos(const YAMLNode& item, const VornRoute& route,
                                const PathExpander& paths) {
    std::vector<VornRepo> repos;
    if (const YAMLNode* listed = item["repos"]) {
        for (const YAMLPair& pair : listed->pairs()) {
            if (auto repo = readRepo(pair, paths)) repos.push_back(std::move(*repo));
        }
    }
    if (!repos.empty()) return repos;
    // A route-level `dir` stands for one repo named like the project.
    if (auto dir = scalarAt(item, "dir")) {
        repos.push_back(VornRepo{route.project.value_or(route.workspace), paths.expand(*dir)});
    }
    return repos;
}

std::optional<VornRoute> readRoute(const YAMLNode& item, const PathExpander& paths) {
    if (item.kind() != YAMLNode::Kind::map) return std::nullopt;
    const auto name = scalarAt(item, "route");
    if (!name || name->empty()) return std::nullopt;
    VornRoute route;
    route.name = *name;
    route.workspace = VornRoute::workspaceOf(*name);
    route.project = VornRoute::projectOf(*name);
    route.area = scalarAt(item, "area");
    if (auto weight = scalarAt(item, "weight")) route.weight = parseWeight(*weight);
    // A route without `enabled` is disabled; only these three words enable it.
    const std::string enabled = Text::lowercasedASCII(scalarAt(item, "enabled").value_or(""));
    route.enabled = enabled == "true" || enabled == "yes" || enabled == "on";
    route.toolchain = scalarAt(item, "toolchain");
    route.baseUrl = scalarAt(item, "baseUrl");
    route.apiKey = scalarAt(item, "apiKey");
    route.apiKeyFile = scalarAt(item, "apiKeyFile");
    route.apiKeyVar = scalarAt(item, "apiKeyVar");
    route.worktreePrefix =
        scalarAt(item, "worktreePrefix").value_or(VornRoute::defaultWorktreePrefix(*name));
    route.branch = readBranch(item);
    route.repos = readRepos(item, route, paths);
    return route;
}

std::vector<VornRoute> readRoutes(const YAMLNode& document, const PathExpander& paths) {
    std::vector<VornRoute> routes;
    const YAMLNode* listed = document["routes"];
    if (listed == nullptr) return routes;
    // A single mapping or scalar counts as a list of one.
    for (const YAMLNode& item : listed->array()) {
        if (auto route = readRoute(item, paths)) routes.push_back(std::move(*route));
    }
    return routes;
}

std::filesystem::path joinedPath(const std::filesystem::path& folder, std::string_view relative) {
    // Appended as text, so a name with a leading "/" can't replace the folder.
    std::string text = folder.string();
    if (!text.ends_with('/')) text.push_back('/');
    text.append(relative);
    return text;
}

}  // namespace

Expected<VornConfig, VornConfigError> VornConfig::load(const std::filesystem::path& file,
                                                       const std::filesystem::path& home) {
    auto text = TextFile::read(file);
    if (!text) return Unexpected(VornConfigError::malformed(text.error()));
    return parse(*text, file, home);
}

Expected<VornConfig, VornConfigError> VornConfig::load(const std::filesystem::path& file) {
    return load(file, HomeFolder::path());
}

Expected<VornConfig, VornConfigError> VornConfig::parse(std::string_view text,
                                                        const std::filesystem::path& file,
                                                        const std::filesystem::path& home) {
    auto document = MiniYAML::parse(text);
    if (!document) return Unexpected(VornConfigError::malformed(document.error().description()));
    const YAMLNode* ship = (*document)["ship"];
    if (ship == nullptr) return Unexpected(VornConfigError::malformed("no `ship:` block"));
    std::error_code ignored;
    const PathExpander paths(std::filesystem::absolute(file, ignored).parent_path(), home);
    VornConfig config;
    config.ship = readShip(*ship, paths);
    config.routes = readRoutes(*document, paths);
    config.configFile = file;
    return config;
}

std::filesystem::path VornConfig::eventFile() const {
    return eventFileOverride.value_or(ship.stateDir / "events.jsonl");
}

std::filesystem::path VornConfig::streamsDir() const {
    return ship.stateDir / "streams";
}

std::vector<VornRepo> VornConfig::allRepos() const {
    std::vector<VornRepo> repos;
    for (const VornRoute& route : routes) {
        repos.insert(repos.end(), route.repos.begin(), route.repos.end());
    }
    return repos;
}

std::optional<VornSeatIdentity> VornConfig::seat(VornRole role) const {
    for (const VornSeatIdentity& seat : seats) {
        if (seat.role == role) return seat;
    }
    return std::nullopt;
}

const VornRoute* VornConfig::route(const std::optional<std::string>& name) const {
    for (const VornRoute& route : routes) {
        if (!name || route.name == *name) return &route;
    }
    return nullptr;
}

std::filesystem::path VornConfig::resolvedFile(
    const VornRoute& route, const std::optional<std::filesystem::path>& stateDir) const {
    return joinedPath(stateDir.value_or(ship.stateDir), "resolved/" + route.name + ".json");
}

const VornRoute* VornConfig::setupRoute() const {
    std::error_code ignored;
    for (const VornRoute& route : routes) {
        if (std::filesystem::exists(resolvedFile(route), ignored)) return &route;
    }
    for (const VornRoute& route : routes) {
        if (route.enabled) return &route;
    }
    return routes.empty() ? nullptr : &routes.front();
}

bool VornConfig::setupRouteIsResolved() const {
    const VornRoute* route = setupRoute();
    std::error_code ignored;
    return route != nullptr && std::filesystem::exists(resolvedFile(*route), ignored);
}

}  // namespace vorn
