// The state reader's steady state, and the probe as a whole process.
//
// An always-on application takes a snapshot every few seconds, and nearly
// always nothing changed on disk: that snapshot must stay cheap, reparse
// nothing and read no event data. The probe is measured from outside, as a
// person runs it, on a machine with a 200 MB event log and no scheduler.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "service/VornReader.h"

extern char** environ;

namespace {

constexpr std::uint64_t kLogBytes = 200ull << 20;

// Answers at once, as a manager that doesn't know the jobs would, so the
// measurement is of the reader and not of a command.
class SilentManager final : public vorn::ServiceManager {
  public:
    Outcome start(const std::string&, const std::optional<std::filesystem::path>&) const override {
        return {};
    }
    Outcome stop(const std::string&) const override { return {}; }
    Outcome kickstart(const std::string&) const override { return {}; }
    UnitState state(const std::string&) const override { return {}; }
    bool hasUnitFile(const std::string&) const override { return false; }
};

std::string eventLines(std::uint64_t bytes) {
    static const char* const steps[] = {"poll", "select", "worktree", "agent", "reconcile"};
    std::string lines;
    for (int index = 0; lines.size() < bytes; ++index) {
        lines += R"({"at":"2026-03-04T05:06:07.890Z","route":"acme/web","cycle":"c-)" +
                 std::to_string(index / 5) + R"(","step":")" + steps[index % 5] +
                 R"(","role":"dev","ticket":"ENG-)" + std::to_string(index % 300) +
                 R"(","message":"step )" + std::to_string(index) + " of the cycle\"}\n";
    }
    return lines;
}

// A configured home whose scheduler state holds a 200 MB event log.
class Fixture {
  public:
    static const Fixture& shared() {
        static const Fixture fixture;
        return fixture;
    }
    ~Fixture() {
        std::error_code ignored;
        std::filesystem::remove_all(home, ignored);
    }

    std::filesystem::path home;

  private:
    Fixture() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "vorn-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        home = pattern;
        const auto state = home / "state";
        std::filesystem::create_directories(home / ".config/vorn");
        std::filesystem::create_directories(state);
        std::ofstream(home / ".config/vorn/vorn.yaml")
            << "ship:\n  name: Bench\n  stateDir: " << state.string()
            << "\nroutes:\n  - route: acme/web\n    enabled: yes\n    repos:\n      web: "
            << (home / "src/web").string() << "\n";
        const std::string block = eventLines(8ull << 20);
        std::ofstream log(state / "events.jsonl", std::ios::binary);
        for (std::uint64_t written = 0; written < kLogBytes; written += block.size()) {
            log.write(block.data(), static_cast<std::streamsize>(block.size()));
        }
    }
};

// Bytes this process has asked the kernel to read so far.
std::uint64_t bytesRead() {
    std::ifstream io("/proc/self/io");
    std::string key;
    std::uint64_t value = 0;
    while (io >> key >> value) {
        if (key == "rchar:") return value;
    }
    return 0;
}

void snapshotWithNothingNew(benchmark::State& state) {
    vorn::VornReader::Options options;
    options.discovery.home = Fixture::shared().home;
    options.discovery.environment = {{"PATH", "/usr/bin:/bin"}};
    options.serviceManager = std::make_shared<SilentManager>();
    const vorn::Timestamp frozen = std::chrono::system_clock::now();
    // Time stands still, so the ten-second answers stay warm throughout.
    options.now = [frozen] { return frozen; };
    vorn::VornReader reader(options);
    benchmark::DoNotOptimize(reader.snapshot());

    const std::uint64_t readBefore = bytesRead();
    for (auto _ : state)
        benchmark::DoNotOptimize(reader.snapshot());
    state.counters["bytesReadPerSnapshot"] =
        static_cast<double>(bytesRead() - readBefore) / static_cast<double>(state.iterations());
}
BENCHMARK(snapshotWithNothingNew)->Unit(benchmark::kMicrosecond);

std::filesystem::path application() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "vorn-app";
}

// Runs `vorn-app --probe` with its output thrown away, and gives its peak
// resident memory in bytes.
long probeOnce(const std::string& home) {
    const std::string program = application().string();
    std::string homeVariable = "HOME=" + home;
    std::string pathVariable = "PATH=/usr/bin:/bin";
    char* arguments[] = {const_cast<char*>(program.c_str()), const_cast<char*>("--probe"), nullptr};
    char* environment[] = {homeVariable.data(), pathVariable.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int failed =
        posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environment);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) return -1;
    int status = 0;
    struct rusage usage {};
    if (::wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        return -1;
    }
    return usage.ru_maxrss * 1024L;
}

void probeProcessOn200MBLog(benchmark::State& state) {
    const std::string home = Fixture::shared().home.string();
    long peak = 0;
    for (auto _ : state) {
        const long resident = probeOnce(home);
        if (resident < 0) {
            state.SkipWithError("the probe did not run to a clean exit");
            return;
        }
        peak = std::max(peak, resident);
    }
    state.counters["peakResidentMB"] = static_cast<double>(peak) / (1024.0 * 1024.0);
}
BENCHMARK(probeProcessOn200MBLog)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
