#pragma once

#include <sys/types.h>

namespace vorn::testing {

// A process the test owns and that lives until the object goes: what holds
// a role's lock while a cycle runs. Killed and reaped on destruction.
class LiveProcess {
  public:
    LiveProcess();
    ~LiveProcess();
    LiveProcess(const LiveProcess&) = delete;
    LiveProcess& operator=(const LiveProcess&) = delete;

    pid_t id() const { return pid; }

  private:
    pid_t pid = 0;
};

}  // namespace vorn::testing
