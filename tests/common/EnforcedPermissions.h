#pragma once

#include <cstdint>

namespace vorn::testing {

// While it lives, the calling thread is held to files' permission bits even
// when it runs as root: it gives up the two capabilities that let root read
// and write past them, and takes them back when it goes. Tests of what
// happens with an unreadable file or a read-only folder use it, so they
// test the same thing whoever runs them.
class EnforcedPermissions {
  public:
    EnforcedPermissions();
    ~EnforcedPermissions();
    EnforcedPermissions(const EnforcedPermissions&) = delete;
    EnforcedPermissions& operator=(const EnforcedPermissions&) = delete;

    // Whether permission bits now hold for this thread.
    bool active() const { return holds; }

  private:
    std::uint32_t savedEffective = 0;
    bool changed = false;
    bool holds = false;
};

}  // namespace vorn::testing
