#include "service/DiagnosticsLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDateTime>
#include <QLocale>
#include <cerrno>

#include "platform/Preferences.h"

namespace vorn {

namespace {

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

// Staged beside the target and renamed over it, so nobody ever sees a
// half-written file; the staging file goes on every path.
void writeNewFile(const std::filesystem::path& file, const std::string& contents) {
    std::string staging = file.string() + ".XXXXXX";
    const int descriptor = ::mkostemp(staging.data(), O_CLOEXEC);
    if (descriptor < 0) return;
    ::fchmod(descriptor, 0644);
    const bool written = writeAll(descriptor, contents);
    ::close(descriptor);
    if (!written || ::rename(staging.c_str(), file.c_str()) != 0) ::unlink(staging.c_str());
}

// The locale's long time format names the time zone; this log wants the
// plain time of day. Quoted literal text is kept as it is.
QString withoutTimeZone(const QString& format) {
    QString kept;
    bool quoted = false;
    for (const QChar character : format) {
        if (character == u'\'') quoted = !quoted;
        if (!quoted && character == u't') continue;
        kept.append(character);
    }
    return kept.simplified();
}

}  // namespace

DiagnosticsLog::DiagnosticsLog(std::filesystem::path path, bool enabled, Clock clock)
    : file(std::move(path)), enabled(enabled), clock(std::move(clock)) {}

DiagnosticsLog::~DiagnosticsLog() = default;

std::unique_ptr<DiagnosticsLog> DiagnosticsLog::forUser(const std::filesystem::path& home,
                                                        const Environment& environment,
                                                        const Preferences& preferences) {
    return std::make_unique<DiagnosticsLog>(pathIn(home),
                                            enabledBy(environment, preferences.debugLogging()));
}

std::filesystem::path DiagnosticsLog::pathIn(const std::filesystem::path& home) {
    return home / "Library" / "Logs" / "Vorn.log";
}

bool DiagnosticsLog::enabledBy(const Environment& environment, bool debugLogging) {
    const auto value = environment.find("VORN_DEBUG");
    return (value != environment.end() && value->second == "1") || debugLogging;
}

std::string DiagnosticsLog::timeOfDay(std::chrono::system_clock::time_point instant,
                                      const QLocale& locale) {
    const auto sinceEpoch =
        std::chrono::duration_cast<std::chrono::milliseconds>(instant.time_since_epoch());
    const QTime localTime = QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).time();
    return locale.toString(localTime, withoutTimeZone(locale.timeFormat(QLocale::LongFormat)))
        .toStdString();
}

void DiagnosticsLog::waitUntilWritten() {
    std::unique_lock lock(queueLock);
    queueChanged.wait(lock, [this] { return queue.empty() && !writing; });
}

std::string DiagnosticsLog::lineFor(std::string message) const {
    std::string line = timeOfDay(clock(), QLocale::system());
    line += ' ';
    line += message;
    line += '\n';
    return line;
}

void DiagnosticsLog::enqueue(std::string line) {
    std::lock_guard lock(queueLock);
    queue.push_back(std::move(line));
    // The writer starts with the first line, so a log that stays off, or
    // silent, never costs a thread.
    if (!writer.joinable()) {
        writer = std::jthread([this](std::stop_token stop) { writeQueuedLines(stop); });
    }
    queueChanged.notify_all();
}

void DiagnosticsLog::writeQueuedLines(std::stop_token stop) {
    std::unique_lock lock(queueLock);
    while (true) {
        // Also returns once a stop is asked for; what is queued still goes.
        queueChanged.wait(lock, stop, [this] { return !queue.empty(); });
        if (queue.empty()) return;
        std::string line = std::move(queue.front());
        queue.pop_front();
        writing = true;
        lock.unlock();
        append(file, line);
        lock.lock();
        writing = false;
        queueChanged.notify_all();
    }
}

void DiagnosticsLog::append(const std::filesystem::path& file, const std::string& line) {
    // Non-blocking, so a pipe put in the log's place can't stall the writer.
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK);
    if (descriptor >= 0) {
        writeAll(descriptor, line);
        ::close(descriptor);
        return;
    }
    // A file that is there but refuses us keeps what it holds; only a
    // missing one is made.
    if (errno != ENOENT) return;
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    writeNewFile(file, line);
}

}  // namespace vorn
