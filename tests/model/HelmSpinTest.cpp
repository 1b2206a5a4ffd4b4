#include <gtest/gtest.h>

#include <QCoreApplication>
#include <algorithm>
#include <cmath>

#include "common/EventLoop.h"
#include "common/MemoryPreferenceStore.h"
#include "model/HelmSpin.h"

namespace vorn {
namespace {

struct SpinBench {
    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    testing::MemoryPreferenceStore store;
    Preferences preferences{store};
    bool motionReduced = false;
    HelmSpin spin{preferences, [this] { return motionReduced; }, 39, 0.3};
    int redraws = 0;
    double widest = 0;

    SpinBench() {
        QObject::connect(&spin, &HelmSpin::angleChanged, [this] {
            ++redraws;
            widest = std::max(widest, std::abs(spin.angle()));
        });
    }

    bool waitForRest() {
        return testing::turnUntil([this] { return !spin.isTurning(); });
    }
};

TEST(HelmSpin, ATurnSwingsOutWithinItsAmplitudeAndSettlesAtRest) {
    SpinBench bench;
    bench.spin.spin();
    EXPECT_TRUE(bench.spin.isTurning());
    EXPECT_TRUE(bench.waitForRest());
    EXPECT_EQ(bench.spin.angle(), 0);
    EXPECT_GT(bench.redraws, 3);
    EXPECT_GT(bench.widest, 20);
    EXPECT_LE(bench.widest, 39);

    // A turn stopped half-way rests at once.
    bench.spin.spin();
    testing::turnFor(std::chrono::milliseconds(100));
    bench.spin.stop();
    EXPECT_FALSE(bench.spin.isTurning());
    EXPECT_EQ(bench.spin.angle(), 0);
}

TEST(HelmSpin, ReducedMotionOrTheSwitchOffKeepsTheHelmStill) {
    SpinBench bench;
    bench.motionReduced = true;
    bench.spin.spin();
    EXPECT_FALSE(bench.spin.isTurning());

    bench.motionReduced = false;
    bench.preferences.setHelmMotionEnabled(false);
    bench.spin.spin();
    EXPECT_FALSE(bench.spin.isTurning());
    EXPECT_EQ(bench.redraws, 0);
}

}  // namespace
}  // namespace vorn
