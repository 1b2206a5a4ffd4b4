#include "common/EventLoop.h"

#include <QEventLoop>
#include <QTimer>

namespace vorn::testing {

namespace {

constexpr std::chrono::milliseconds kLookInterval{5};

}  // namespace

bool turnUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    if (condition()) return true;
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [&] {
        if (condition()) loop.quit();
    });
    look.start(kLookInterval);
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    loop.exec();
    return condition();
}

void turnFor(std::chrono::milliseconds span) {
    QEventLoop loop;
    QTimer::singleShot(span, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace vorn::testing
