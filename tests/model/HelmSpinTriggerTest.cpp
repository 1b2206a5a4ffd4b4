#include <gtest/gtest.h>

#include "model/HelmSpinTrigger.h"

namespace vorn {
namespace {

VornSnapshot working(std::optional<VornRole> role) {
    VornSnapshot snapshot;
    if (role) snapshot.workers.push_back(ActiveWorker{.route = "acme/web", .role = *role});
    return snapshot;
}

TEST(HelmSpinTrigger, TurnsWhenASeatPicksUpOrHandsOverButNotAtLaunchOrWhenWorkEnds) {
    const VornSnapshot none = working(std::nullopt);
    const VornSnapshot dev = working(VornRole::dev);
    const VornSnapshot qa = working(VornRole::qa);

    EXPECT_FALSE(HelmSpinTrigger::shouldSpin(std::nullopt, dev));  // launch with a worker
    EXPECT_TRUE(HelmSpinTrigger::shouldSpin(none, dev));
    EXPECT_TRUE(HelmSpinTrigger::shouldSpin(dev, qa));
    EXPECT_FALSE(HelmSpinTrigger::shouldSpin(dev, dev));
    EXPECT_FALSE(HelmSpinTrigger::shouldSpin(dev, none));
    EXPECT_FALSE(HelmSpinTrigger::shouldSpin(none, none));
}

}  // namespace
}  // namespace vorn
