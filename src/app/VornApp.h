#pragma once

#include "model/VornMonitor.h"
#include "platform/DesktopNotifier.h"

namespace vorn {

// The running application around its one monitor, which everything on
// screen reads and every action goes through. Made on the main thread once
// the application object exists, and kept for the life of the process.
class VornApp {
  public:
    VornApp();

    VornMonitor& monitor() { return vornMonitor; }

    // Starts the monitor's ticker.
    void start();

  private:
    DesktopNotifier notifier;
    VornMonitor vornMonitor;
};

}  // namespace vorn
