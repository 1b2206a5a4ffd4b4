#include "app/Entry.h"

#include <unistd.h>

#include <QApplication>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>

#include "app/VornApp.h"
#include "service/Probe.h"

namespace vorn {

namespace {

void writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return;
        }
        text.remove_prefix(static_cast<size_t>(written));
    }
}

}  // namespace

bool Entry::wantsProbe(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--probe") return true;
    }
    return false;
}

int Entry::main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv, argv + argc);
    if (wantsProbe(arguments)) std::exit(runBlocking(&Entry::runProbe));
    return startApplication(argc, argv);
}

int Entry::runBlocking(const std::function<int()>& job) {
    std::mutex mutex;
    std::condition_variable finished;
    std::optional<int> status;
    std::thread worker([&] {
        const int result = job();
        const std::lock_guard lock(mutex);
        status = result;
        finished.notify_one();
    });
    {
        std::unique_lock lock(mutex);
        while (!status)
            finished.wait_for(lock, std::chrono::milliseconds(50));
    }
    worker.join();
    return *status;
}

int Entry::runProbe() {
    const ProbeReport report = Probe::run();
    switch (report.destination) {
        case ProbeReport::Destination::standardOutput:
            writeAll(STDOUT_FILENO, report.text);
            break;
        case ProbeReport::Destination::standardError:
            writeAll(STDERR_FILENO, report.text);
            break;
        case ProbeReport::Destination::nothing:
            break;
    }
    return report.status;
}

int Entry::startApplication(int argc, char** argv) {
    const QApplication application(argc, argv);
    VornApp app;
    app.start();
    return QApplication::exec();
}

}  // namespace vorn
