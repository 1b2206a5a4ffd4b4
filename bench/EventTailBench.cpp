// The event log is read on every refresh of an always-on application. These
// measure the tail's first pump of a 200 MB log (only its last 512 KiB are
// read) against simdjson parsing those same lines alone, a pump that finds
// nothing new, a pump that finds one new line, the cycle fold over a full
// buffer, and the decoder's throughput against `jq -c .` over the same
// lines.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <simdjson.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "model/CycleFold.h"
#include "model/VornEventDecoder.h"
#include "service/EventTail.h"

namespace {

constexpr std::uint64_t kLogBytes = 200ull << 20;
constexpr std::uint64_t kJqBytes = 32ull << 20;

// Lines shaped like the scheduler's: cycles of a few dozen events through
// the steps, with the data members each step carries.
class LineMaker {
  public:
    std::string next() {
        static constexpr const char* kSteps[] = {"poll",  "sweep",     "select", "worktree",
                                                 "agent", "reconcile", "merge",  "release"};
        static constexpr const char* kRoles[] = {"dev", "design", "qa", "triage"};
        if (stepIndex == 0) ++cycleNumber;
        const std::string step = kSteps[stepIndex];
        const std::string role = kRoles[cycleNumber % 4];
        std::string line = R"({"at":"2026-)" + twoDigits(1 + cycleNumber % 12) + "-" +
                           twoDigits(1 + cycleNumber % 28) + "T" + twoDigits(cycleNumber % 24) +
                           ":" + twoDigits(stepIndex * 7) + ":" + twoDigits(random() % 60) + "." +
                           std::to_string(100 + random() % 900) + R"(Z","cycle":"20260102-)" +
                           std::to_string(cycleNumber) + R"(","route":"acme/web","step":")" + step +
                           R"(","level":")" + (random() % 20 == 0 ? "warn" : "info") +
                           R"(","role":")" + role + R"(","ticket":"ENG-)" +
                           std::to_string(cycleNumber % 500) + R"(","message":")" + step +
                           " for ENG-" + std::to_string(cycleNumber % 500) +
                           ": working through the change set" + R"(","data":{)";
        if (step == "select") {
            line += R"("rank":)" + std::to_string(random() % 9) +
                    R"(,"pending":["qa","triage"],"title":"Make the widget keep its place")";
        } else if (step == "agent") {
            line += R"("ms":)" + std::to_string(random() % 900000) +
                    R"(,"kind":"tool","tool":"bash","target":"src/widget/place.ts","cycleIndex":)" +
                    std::to_string(random() % 40);
        } else if (step == "release") {
            line += R"("url":"https://example.com/acme/web/pull/)" + std::to_string(cycleNumber) +
                    R"(","attention":["release_stale"])";
        } else {
            line += R"("hook":"test")";
        }
        line += "}}\n";
        stepIndex = (stepIndex + 1) % std::size(kSteps);
        return line;
    }

  private:
    static std::string twoDigits(unsigned value) {
        return std::string(1, static_cast<char>('0' + value / 10 % 10)) +
               static_cast<char>('0' + value % 10);
    }
    unsigned random() { return static_cast<unsigned>(generator()); }

    std::mt19937 generator{20260102};
    unsigned cycleNumber = 0;
    size_t stepIndex = 0;
};

std::string linesOfSize(std::uint64_t bytes) {
    LineMaker maker;
    std::string text;
    text.reserve(bytes + 512);
    while (text.size() < bytes)
        text += maker.next();
    return text;
}

// The files every benchmark reads, made once in a temporary folder and
// removed with it when the program ends.
class Fixture {
  public:
    static Fixture& shared() {
        static Fixture fixture;
        return fixture;
    }

    std::filesystem::path bigLog;
    std::filesystem::path jqInput;
    std::string seedLines;  // the whole lines among the big log's last 512 KiB
    std::string jqLines;

    ~Fixture() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

  private:
    Fixture() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "vorn-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        folder = pattern;
        bigLog = folder / "events.jsonl";
        jqInput = folder / "lines.jsonl";

        // 200 MB of log from a repeated 8 MiB block, whose end is the
        // log's end, so the seed range holds varied lines.
        const std::string block = linesOfSize(8ull << 20);
        {
            std::ofstream stream(bigLog, std::ios::binary);
            for (std::uint64_t written = 0; written < kLogBytes; written += block.size())
                stream.write(block.data(), static_cast<std::streamsize>(block.size()));
        }
        const std::uint64_t size = std::filesystem::file_size(bigLog);
        std::string tailBytes(vorn::EventTail::standardSeedBytes, '\0');
        {
            std::ifstream stream(bigLog, std::ios::binary);
            stream.seekg(static_cast<std::streamoff>(size - vorn::EventTail::standardSeedBytes));
            stream.read(tailBytes.data(), static_cast<std::streamsize>(tailBytes.size()));
        }
        seedLines = tailBytes.substr(tailBytes.find('\n') + 1);

        jqLines = linesOfSize(kJqBytes);
        std::ofstream(jqInput, std::ios::binary)
            .write(jqLines.data(), static_cast<std::streamsize>(jqLines.size()));
    }

    std::filesystem::path folder;
};

std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

void coldPumpOf200MBLog(benchmark::State& state) {
    const Fixture& fixture = Fixture::shared();
    size_t events = 0;
    for (auto _ : state) {
        auto tail = std::make_unique<vorn::EventTail>(
            fixture.bigLog, vorn::EventTail::standardSeedBytes, vorn::EventTail::standardKeep);
        events = tail->pump().size();
        benchmark::DoNotOptimize(tail->events().data());
        // Dropping the events later is not part of reading them.
        state.PauseTiming();
        tail.reset();
        state.ResumeTiming();
    }
    state.counters["events"] = static_cast<double>(events);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(vorn::EventTail::standardSeedBytes));
}
BENCHMARK(coldPumpOf200MBLog)->Unit(benchmark::kMillisecond);

// The floor for the pump above: simdjson's DOM parser on the same lines,
// one at a time, with nothing read from disk and no event built.
void simdjsonParseOfTheSameLines(benchmark::State& state) {
    const Fixture& fixture = Fixture::shared();
    const std::vector<std::string_view> lines = splitLines(fixture.seedLines);
    simdjson::dom::parser parser;
    size_t objects = 0;
    for (auto _ : state) {
        objects = 0;
        for (std::string_view line : lines) {
            simdjson::dom::element root;
            if (parser.parse(line.data(), line.size()).get(root) == simdjson::SUCCESS) ++objects;
        }
        benchmark::DoNotOptimize(objects);
    }
    state.counters["lines"] = static_cast<double>(objects);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(vorn::EventTail::standardSeedBytes));
}
BENCHMARK(simdjsonParseOfTheSameLines)->Unit(benchmark::kMillisecond);

void pumpWithNothingNew(benchmark::State& state) {
    const Fixture& fixture = Fixture::shared();
    vorn::EventTail tail(fixture.bigLog, vorn::EventTail::standardSeedBytes,
                         vorn::EventTail::standardKeep);
    tail.pump();
    for (auto _ : state) {
        auto fresh = tail.pump();
        benchmark::DoNotOptimize(fresh);
    }
}
BENCHMARK(pumpWithNothingNew)->Unit(benchmark::kMicrosecond);

// Steady state with a full buffer: one line appended before each pump.
void pumpWithOneNewLine(benchmark::State& state) {
    const Fixture& fixture = Fixture::shared();
    const std::filesystem::path log = fixture.bigLog.parent_path() / "steady.jsonl";
    std::filesystem::copy_file(fixture.bigLog.parent_path() / "lines.jsonl", log,
                               std::filesystem::copy_options::overwrite_existing);
    vorn::EventTail tail(log, vorn::EventTail::standardSeedBytes, vorn::EventTail::standardKeep);
    tail.pump();
    const std::string line = LineMaker().next();
    const int descriptor = ::open(log.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    for (auto _ : state) {
        if (::write(descriptor, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
            state.SkipWithError("append failed");
            break;
        }
        auto fresh = tail.pump();
        benchmark::DoNotOptimize(fresh);
    }
    ::close(descriptor);
    std::filesystem::remove(log);
}
BENCHMARK(pumpWithOneNewLine)->Unit(benchmark::kMicrosecond);

void foldOf2000Events(benchmark::State& state) {
    const Fixture& fixture = Fixture::shared();
    vorn::EventTail tail(fixture.bigLog, vorn::EventTail::standardSeedBytes,
                         vorn::EventTail::standardKeep);
    tail.pump();
    const std::span<const vorn::VornEvent> events = tail.events();
    for (auto _ : state) {
        auto cycle = vorn::CycleFold::fold(events);
        benchmark::DoNotOptimize(cycle);
    }
    state.counters["events"] = static_cast<double>(events.size());
}
BENCHMARK(foldOf2000Events)->Unit(benchmark::kMicrosecond);

void decodeOf32MBLines(benchmark::State& state) {
    const Fixture& fixture = Fixture::shared();
    const std::vector<std::string_view> lines = splitLines(fixture.jqLines);
    std::int64_t id = 0;
    for (auto _ : state) {
        for (std::string_view line : lines) {
            auto event = vorn::VornEventDecoder::decode(line, id++);
            benchmark::DoNotOptimize(event);
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(fixture.jqLines.size()));
}
BENCHMARK(decodeOf32MBLines)->Unit(benchmark::kMillisecond);

// `jq -c .` over the same file, output thrown away; the time includes
// starting the process, which is small against 32 MB of input.
void jqCompactOf32MBLines(benchmark::State& state) {
    const Fixture& fixture = Fixture::shared();
    const std::string input = fixture.jqInput.string();
    for (auto _ : state) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        char* arguments[] = {const_cast<char*>("jq"), const_cast<char*>("-c"),
                             const_cast<char*>("."), const_cast<char*>(input.c_str()), nullptr};
        pid_t child = 0;
        const int failure = posix_spawnp(&child, "jq", &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        if (failure != 0) {
            state.SkipWithError("jq could not be started (tools/deps installs it)");
            break;
        }
        // A time-out, so a stuck jq can't hold the run.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        int status = 0;
        while (::waitpid(child, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > deadline) {
                ::kill(child, SIGKILL);
                ::waitpid(child, &status, 0);
                break;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("jq failed or timed out");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(fixture.jqLines.size()));
}
BENCHMARK(jqCompactOf32MBLines)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

}  // namespace
