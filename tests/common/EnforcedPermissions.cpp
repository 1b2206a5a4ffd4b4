#include "common/EnforcedPermissions.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vorn::testing {

namespace {

constexpr std::uint32_t kOverrides = (1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH);

// Capabilities are per thread; the raw calls act on the calling one.
bool readCapabilities(__user_cap_data_struct (&data)[2]) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    return ::syscall(SYS_capget, &header, data) == 0;
}

bool writeCapabilities(__user_cap_data_struct (&data)[2]) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    return ::syscall(SYS_capset, &header, data) == 0;
}

}  // namespace

EnforcedPermissions::EnforcedPermissions() {
    __user_cap_data_struct data[2]{};
    if (!readCapabilities(data)) return;
    savedEffective = data[0].effective;
    if ((savedEffective & kOverrides) == 0) {
        holds = true;
        return;
    }
    data[0].effective &= ~kOverrides;
    changed = writeCapabilities(data);
    holds = changed;
}

EnforcedPermissions::~EnforcedPermissions() {
    if (!changed) return;
    __user_cap_data_struct data[2]{};
    if (!readCapabilities(data)) return;
    data[0].effective = savedEffective;
    writeCapabilities(data);
}

}  // namespace vorn::testing
