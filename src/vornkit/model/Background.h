#pragma once

#include <QCoroFuture>
#include <QCoroTask>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <type_traits>
#include <utility>

namespace vorn {

// How models await the blocking services without blocking the main thread:
// the work runs on a worker thread, and the awaiting coroutine resumes on its
// own thread, through that thread's event loop, once the work is done.
//
//     const ShellResult result = co_await Background::run(
//         [=] { return Shell::run(tool, arguments, std::nullopt, environment, 30); });
struct Background {
    // On `blockingPool`.
    template <class Work>
    static QCoro::Task<std::invoke_result_t<Work&>> run(Work work) {
        return run(blockingPool(), std::move(work));
    }

    // On `pool`; a pool of one thread makes a serial object.
    template <class Work>
    static QCoro::Task<std::invoke_result_t<Work&>> run(QThreadPool& pool, Work work) {
        co_return co_await QtConcurrent::run(&pool, std::move(work));
    }

    // For calls that block a thread on a child process or the disk for long.
    // It grows well past the number of cores, as its threads mostly wait,
    // and a few long commands must not hold up every other.
    static QThreadPool& blockingPool();
};

}  // namespace vorn
