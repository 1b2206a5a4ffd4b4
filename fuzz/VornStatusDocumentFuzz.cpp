// Any answer either decodes or doesn't, the same way every time and
// whatever blanks surround it; a decoded one holds at most one route, seats
// with names that say something, and the prefix its repos or name give.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "model/VornStatusDocument.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    const std::filesystem::path fallback = "/home/fuzz/.config/vorn/vorn.yaml";
    const auto document = vorn::VornStatusDocument::decode(json, fallback);
    if (document != vorn::VornStatusDocument::decode(json, fallback)) std::abort();
    const std::string padded = " \n\t" + std::string(json) + "\r\n ";
    if (document != vorn::VornStatusDocument::decode(padded, fallback)) std::abort();
    if (!document) return 0;
    if (document->version != 1) std::abort();
    if (document->config.routes.size() > 1) std::abort();
    for (const auto& route : document->config.routes) {
        const bool prefixFromRepo = !route.repos.empty() && route.repos.front().worktreePrefix;
        if (!prefixFromRepo && route.worktreePrefix != route.name + "-issue-") std::abort();
        if (route.toolchain && route.toolchain == document->config.ship.defaultToolchain) {
            std::abort();
        }
    }
    for (const auto& seat : document->config.seats) {
        if ((seat.name && seat.name->empty()) || (seat.personaName && seat.personaName->empty())) {
            std::abort();
        }
    }
    for (const auto& item : document->shipAttention) {
        if (item.id().size() != item.kind.size() + 1 + item.key.size()) std::abort();
        (void)item.label();
        if (item.requiredVornVersion() && item.kind != "vorn_outdated") std::abort();
        if (item.held) (void)item.held->directoryName();
    }
    return 0;
}
