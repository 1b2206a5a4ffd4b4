// What proving a downloaded tarball costs (its SHA-256, read in chunks), and
// what choosing a release from a full page of the feed costs.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "service/VornUpdater.h"

namespace {

// A file of `size` bytes in the temporary folder, removed at the end.
class ScratchFile {
  public:
    explicit ScratchFile(size_t size) {
        std::string pattern = "/tmp/vorn-bench-XXXXXX";
        const int descriptor = ::mkstemp(pattern.data());
        ::close(descriptor);
        path = pattern;
        std::ofstream stream(path, std::ios::binary | std::ios::trunc);
        const std::string block(1 << 20, 'v');
        for (size_t written = 0; written < size; written += block.size())
            stream.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
    ~ScratchFile() { std::filesystem::remove(path); }
    std::filesystem::path path;
};

void hashTarball(benchmark::State& state) {
    const ScratchFile file(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        const auto digest = vorn::VornUpdater::sha256(file.path);
        benchmark::DoNotOptimize(digest->data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(hashTarball)->Arg(64 << 20)->Unit(benchmark::kMillisecond)->UseRealTime();

// Thirty releases, each with assets for four platforms and its checksums.
std::string fullFeedPage() {
    std::string feed = "[";
    for (int release = 0; release < 30; ++release) {
        const std::string version = "1." + std::to_string(release) + ".0";
        feed += release > 0 ? "," : "";
        feed += "{\"tag_name\": \"v" + version +
                "\", \"draft\": false, \"prerelease\": " + (release % 7 == 0 ? "true" : "false") +
                ", \"body\": \"" + std::string(2000, 'x') + "\", \"assets\": [";
        for (const char* platform :
             {"linux-x86_64", "linux-arm64", "other-arm64", "other-x86_64"}) {
            feed += "{\"name\": \"vorn-" + version + "-" + platform +
                    ".tar.gz\", \"browser_download_url\": \"https://dl/v" + version + "/" +
                    platform + "\"},";
        }
        feed += "{\"name\": \"SHA256SUMS\", \"browser_download_url\": \"https://dl/sums\"}]}";
    }
    return feed + "]";
}

void chooseRelease(benchmark::State& state) {
    const std::string feed = fullFeedPage();
    for (auto _ : state) {
        const auto newest =
            vorn::VornUpdater::newestRelease(feed, "x86_64", vorn::VornUpdater::minimumVornVersion);
        benchmark::DoNotOptimize(newest->has_value());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(feed.size()));
}
BENCHMARK(chooseRelease)->Unit(benchmark::kMicrosecond);

}  // namespace
