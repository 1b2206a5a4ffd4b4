#include "common/LiveProcess.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

extern char** environ;

namespace vorn::testing {

LiveProcess::LiveProcess() {
    const char* arguments[] = {"/bin/sleep", "60", nullptr};
    if (posix_spawn(&pid, "/bin/sleep", nullptr, nullptr, const_cast<char**>(arguments), environ) !=
        0) {
        std::abort();
    }
}

LiveProcess::~LiveProcess() {
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
}

}  // namespace vorn::testing
