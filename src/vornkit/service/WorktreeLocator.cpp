#include "service/WorktreeLocator.h"

#include <algorithm>
#include <system_error>

#include "support/MiniYAML.h"
#include "support/Text.h"
#include "support/TextFile.h"
#include "support/UniqueInOrder.h"

namespace vorn {

namespace {

constexpr std::string_view kGitdirLabel = "gitdir:";
constexpr std::string_view kWorktreesMarker = "/.git/worktrees/";

// A path with "." and ".." resolved and no trailing slash, so two spellings
// of one folder compare equal. A relative path is taken from `base`. Links
// are not followed: the scheduler and git write the paths we compare.
std::filesystem::path standardised(const std::filesystem::path& path,
                                   const std::filesystem::path& base) {
    std::string text = (path.is_relative() ? base / path : path).lexically_normal().string();
    while (text.size() > 1 && text.ends_with('/'))
        text.pop_back();
    return text;
}

std::optional<std::string> prefixFromRepoFile(const VornRepo& repo) {
    const auto node = MiniYAML::parseContentsOf(repo.dir / ".vorn.yaml");
    if (!node) return std::nullopt;
    const YAMLNode* worktrees = (*node)["worktrees"];
    const YAMLNode* prefix = worktrees == nullptr ? nullptr : (*worktrees)["prefix"];
    return prefix == nullptr ? std::nullopt : prefix->string();
}

// The repository of the route whose checkout the worktree folder belongs to.
const VornRepo* repoOwning(const std::filesystem::path& worktree, const VornRoute& route) {
    const auto checkout = WorktreeLocator::checkout(worktree);
    if (!checkout) return nullptr;
    const std::filesystem::path owner = standardised(*checkout, worktree);
    for (const VornRepo& repo : route.repos) {
        if (standardised(repo.dir, "/") == owner) return &repo;
    }
    return nullptr;
}

std::vector<std::filesystem::path> distinctParents(const VornRoute& route) {
    std::vector<std::filesystem::path> parents;
    for (const VornRepo& repo : route.repos)
        parents.push_back(repo.worktreeParent());
    return uniqueInOrder(std::move(parents));
}

// Folder entries by name, so that the result doesn't depend on the order in
// which the file system hands them out. A folder that can't be listed gives
// nothing.
std::vector<std::string> entryNames(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        names.push_back(it->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::int64_t> ticketOf(const std::string& name,
                                     const std::vector<std::string>& prefixes) {
    const auto prefix = std::find_if(prefixes.begin(), prefixes.end(),
                                     [&](const std::string& p) { return name.starts_with(p); });
    if (prefix == prefixes.end()) return std::nullopt;
    return Text::decimalInteger(std::string_view(name).substr(prefix->size()));
}

}  // namespace

std::vector<std::string> WorktreeLocator::prefixes(const VornRepo& repo, const VornRoute& route) {
    std::vector<std::string> candidates;
    if (repo.worktreePrefix) candidates.push_back(*repo.worktreePrefix);
    if (auto fromFile = prefixFromRepoFile(repo)) candidates.push_back(std::move(*fromFile));
    candidates.push_back(repo.name + "-issue-");
    candidates.push_back(repo.dir.filename().string() + "-issue-");
    candidates.push_back(route.worktreePrefix);
    return uniqueInOrder(std::move(candidates));
}

std::optional<std::filesystem::path> WorktreeLocator::checkout(
    const std::filesystem::path& worktree) {
    const auto contents = TextFile::read(worktree / ".git");
    if (!contents) return std::nullopt;
    std::string_view text = Text::trimWhitespace(*contents);
    if (!text.starts_with(kGitdirLabel)) return std::nullopt;
    text = Text::trimBlanksAndTabs(text.substr(kGitdirLabel.size()));
    const size_t marker = text.find(kWorktreesMarker);
    if (marker == std::string_view::npos) return std::nullopt;
    return std::filesystem::path(text.substr(0, marker));
}

std::optional<WorktreeLocator::Match> WorktreeLocator::locate(std::int64_t ticketNumber,
                                                              const VornRoute& route) {
    for (const VornRepo& repo : route.repos) {
        for (const std::string& prefix : prefixes(repo, route)) {
            const std::filesystem::path candidate =
                repo.worktreeParent() / (prefix + std::to_string(ticketNumber));
            std::error_code error;
            if (!std::filesystem::is_directory(candidate, error)) continue;
            if (const VornRepo* owner = repoOwning(candidate, route)) {
                return Match{owner->name, candidate.string()};
            }
        }
    }
    return std::nullopt;
}

std::vector<WorktreeLocator::Found> WorktreeLocator::all(const VornRoute& route) {
    std::vector<std::string> allPrefixes;
    for (const VornRepo& repo : route.repos) {
        for (std::string& prefix : prefixes(repo, route))
            allPrefixes.push_back(std::move(prefix));
    }
    // The parents are distinct and so are the names in one folder, so every
    // path is met once.
    std::vector<Found> found;
    for (const std::filesystem::path& parent : distinctParents(route)) {
        for (const std::string& name : entryNames(parent)) {
            const auto ticket = ticketOf(name, allPrefixes);
            if (!ticket) continue;
            const std::filesystem::path path = parent / name;
            if (const VornRepo* owner = repoOwning(path, route)) {
                found.push_back(Found{*ticket, Match{owner->name, path.string()}});
            }
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const Found& left, const Found& right) {
        return left.ticket < right.ticket;
    });
    return found;
}

}  // namespace vorn
