#pragma once

#include <atomic>
#include <concepts>
#include <filesystem>
#include <utility>

#include "service/DiagnosticsLog.h"

namespace vorn {

// The application's one diagnostics log, for any thread. It is made at its
// first use from this process: the home folder, VORN_DEBUG and the
// `debugLogging` preference, which are read then and never again. When it
// is off, a call costs a look at a flag, and the message is never built.
struct Diagnostics {
    template <std::invocable Message>
    static void log(Message&& message) {
        current().log(std::forward<Message>(message));
    }
    static bool isEnabled() { return current().isEnabled(); }
    static const std::filesystem::path& path() { return current().path(); }

    // The log calls go to: the process's own, or the one a `Redirect` put
    // in its place.
    static DiagnosticsLog& current();

    // While it lives, the calls above go to `log`, which must outlive it.
    // For tests, which may not touch the person's own log.
    class Redirect {
      public:
        explicit Redirect(DiagnosticsLog& log);
        ~Redirect();
        Redirect(const Redirect&) = delete;
        Redirect& operator=(const Redirect&) = delete;

      private:
        DiagnosticsLog* previous;
    };

  private:
    static DiagnosticsLog& processLog();
    static std::atomic<DiagnosticsLog*> redirected;
};

}  // namespace vorn
