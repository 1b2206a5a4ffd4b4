#include "model/Background.h"

namespace vorn {

namespace {

constexpr int kMostWaitingThreads = 64;

}  // namespace

QThreadPool& Background::blockingPool() {
    // Never destroyed: a pool torn down among the static objects at exit
    // would outlive parts of Qt it relies on. Idle threads end on their own.
    static QThreadPool* pool = [] {
        auto* made = new QThreadPool;
        made->setMaxThreadCount(kMostWaitingThreads);
        return made;
    }();
    return *pool;
}

}  // namespace vorn
