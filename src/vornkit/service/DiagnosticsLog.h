#pragma once

#include <chrono>
#include <concepts>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "support/ProcessEnvironment.h"

class QLocale;

namespace vorn {

class Preferences;

// One switchable text log file. Each line is "{time} {message}", the time
// being the local time of day with seconds, in the user's locale. Lines are
// written in the order of the calls by a thread of the log's own, which
// opens and closes the file for each line, so a person may delete the file
// at any time and the next line makes a new one. Nothing of a failure to
// write reaches the caller: the line is lost.
class DiagnosticsLog {
  public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    DiagnosticsLog(std::filesystem::path path, bool enabled,
                   Clock clock = &std::chrono::system_clock::now);
    // Writes what is queued before it goes.
    ~DiagnosticsLog();
    DiagnosticsLog(const DiagnosticsLog&) = delete;
    DiagnosticsLog& operator=(const DiagnosticsLog&) = delete;

    // The log of a person: Library/Logs/Vorn.log in `home`, switched on by
    // `environment` or the preferences, read now and never again.
    static std::unique_ptr<DiagnosticsLog> forUser(const std::filesystem::path& home,
                                                   const Environment& environment,
                                                   const Preferences& preferences);
    static std::filesystem::path pathIn(const std::filesystem::path& home);
    // On when VORN_DEBUG is exactly "1"; any other value leaves the choice
    // to the `debugLogging` preference.
    static bool enabledBy(const Environment& environment, bool debugLogging);
    // The time of day with seconds and without a date or time zone, as
    // `locale` writes it: "9:05:12 AM", "09:05:12".
    static std::string timeOfDay(std::chrono::system_clock::time_point instant,
                                 const QLocale& locale);

    bool isEnabled() const { return enabled; }
    const std::filesystem::path& path() const { return file; }

    // `message` runs only when the log is on, so a caller may build costly
    // text without a test of its own. The time is taken now, on the
    // caller's thread; the writing happens later, on the log's.
    template <std::invocable Message>
    void log(Message&& message) {
        if (!enabled) return;
        enqueue(lineFor(std::string(std::forward<Message>(message)())));
    }

    // Blocks until every line logged so far is written or lost.
    void waitUntilWritten();

  private:
    std::string lineFor(std::string message) const;
    void enqueue(std::string line);
    void writeQueuedLines(std::stop_token stop);
    static void append(const std::filesystem::path& file, const std::string& line);

    const std::filesystem::path file;
    const bool enabled;
    const Clock clock;

    std::mutex queueLock;
    std::condition_variable_any queueChanged;
    std::deque<std::string> queue;
    bool writing = false;
    // Last, so it stops before the queue it reads goes away.
    std::jthread writer;
};

}  // namespace vorn
