#include "service/Diagnostics.h"

#include "platform/Preferences.h"
#include "support/HomeFolder.h"

namespace vorn {

std::atomic<DiagnosticsLog*> Diagnostics::redirected{nullptr};

DiagnosticsLog& Diagnostics::current() {
    if (DiagnosticsLog* log = redirected.load(std::memory_order_acquire)) return *log;
    return processLog();
}

DiagnosticsLog& Diagnostics::processLog() {
    static const std::unique_ptr<DiagnosticsLog> log = DiagnosticsLog::forUser(
        HomeFolder::path(), ProcessEnvironment::current(), Preferences::shared());
    return *log;
}

Diagnostics::Redirect::Redirect(DiagnosticsLog& log)
    : previous(redirected.exchange(&log, std::memory_order_acq_rel)) {}

Diagnostics::Redirect::~Redirect() {
    redirected.store(previous, std::memory_order_release);
}

}  // namespace vorn
