#include "app/VornApp.h"

#include "service/Diagnostics.h"

namespace vorn {

VornApp::VornApp() : vornMonitor(VornMonitor::forThisProcess(), Preferences::shared(), notifier) {}

void VornApp::start() {
    vornMonitor.start();
    Diagnostics::log([] { return std::string("--- Vorn launched (debug logging on) ---"); });
}

}  // namespace vorn
