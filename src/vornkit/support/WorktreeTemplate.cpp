#include "support/WorktreeTemplate.h"

#include <algorithm>

#include "support/TemplateScan.h"

namespace vorn {

namespace {

std::string validPlaceholders() {
    return "Valid placeholders: " + TemplateScan::braced(WorktreeTemplate::placeholders, " ") + ".";
}

bool namesAPerTicketPlaceholder(const std::vector<std::string>& names) {
    return std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return std::find(WorktreeTemplate::perTicket.begin(), WorktreeTemplate::perTicket.end(),
                         name) != WorktreeTemplate::perTicket.end();
    });
}

std::string_view sampleOf(std::string_view placeholder, std::string_view dir) {
    if (placeholder == "dir") return dir;
    if (placeholder == "issue") return "vmac-1501";
    if (placeholder == "number") return "1501";
    if (placeholder == "key") return "ISSUE-1501";
    if (placeholder == "slug") return "fix-the-widget-thing";
    if (placeholder == "role") return "dev";
    if (placeholder == "prefix") return "VMAC";
    return "VMAC-1501";  // tag
}

}  // namespace

std::optional<std::string> WorktreeTemplate::problem(std::string_view text) {
    if (text.empty()) return std::nullopt;
    if (text.find_first_of("/\\") != std::string_view::npos) {
        return "Must not contain a path separator \u2014 a worktree is cut beside the checkout.";
    }
    const auto scan = TemplateScan::names(text, placeholders);
    if (!scan) {
        if (scan.error().kind == TemplateScan::Fault::Kind::unknownName) {
            return "Unknown placeholder {" + scan.error().name + "}. " + validPlaceholders();
        }
        return "Unbalanced brace. " + validPlaceholders();
    }
    if (!namesAPerTicketPlaceholder(*scan)) {
        return "Names no per-ticket placeholder \u2014 every ticket would get the same worktree. "
               "Use at least one of {issue} {number} {key} {slug} {tag}.";
    }
    return std::nullopt;
}

std::string WorktreeTemplate::example(std::string_view text, std::string_view dir) {
    // One pass, so a sample (or the folder name) that happens to hold a
    // placeholder's spelling is never replaced a second time.
    std::string result;
    size_t position = 0;
    while (position < text.size()) {
        const size_t open = text.find('{', position);
        if (open == std::string_view::npos) break;
        const size_t close = text.find('}', open + 1);
        if (close == std::string_view::npos) break;
        const std::string_view name = text.substr(open + 1, close - open - 1);
        result.append(text.substr(position, open - position));
        if (std::find(placeholders.begin(), placeholders.end(), name) != placeholders.end()) {
            result.append(sampleOf(name, dir));
            position = close + 1;
        } else {
            result.push_back('{');
            position = open + 1;
        }
    }
    result.append(text.substr(position));
    return result;
}

}  // namespace vorn
