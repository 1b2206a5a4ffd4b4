#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "model/VornInstallation.h"
#include "model/VornSnapshot.h"

namespace vorn {

// The seven steps of guided setup, in their fixed order. No step's
// completion is stored anywhere: where a person stands follows each time
// from `Facts` read off the disk, so setup may be left at any moment and
// taken up again, and the application can tell at start whether it is
// needed.
class SetupStep {
  public:
    enum Value : int {
        requirements = 0,
        signIn = 1,
        workspace = 2,
        thisMachine = 3,
        repositories = 4,
        verify = 5,
        start = 6,
    };

    static constexpr std::array<Value, 7> allCases{requirements, signIn, workspace, thisMachine,
                                                   repositories, verify, start};

    // What the disk says about this machine's setup.
    struct Facts {
        bool hasConfig = false;
        // The scheduler resolved at least one route.
        bool hasResolvedRoute = false;
        // At least one configured repository exists on the disk.
        bool hasCheckout = false;
        // The scheduler's run timer is installed.
        bool hasSchedulerUnit = false;
        // Why a configuration that exists could not be read.
        std::optional<std::string> configError;

        bool operator==(const Facts&) const = default;
    };

    constexpr SetupStep(Value step) : value(step) {}    // NOLINT: a step is its case
    constexpr operator Value() const { return value; }  // NOLINT: switch and compare as the case

    std::string_view title() const;

    // A configuration that exists but can't be read counts as present, and
    // carries the snapshot's reading error. The files of the state folder
    // are only looked for, never read.
    static Facts facts(const VornSnapshot& snapshot,
                       const std::optional<VornInstallation>& installation);
    // The first step whose fact is missing. `workspace` and `thisMachine`
    // never are: the connect flow moves on to them from `signIn`.
    static SetupStep resume(const Facts& facts);

    // Done: it comes before the step to resume at.
    static bool isComplete(SetupStep step, SetupStep resumeAt);
    // May be opened: it is the step to resume at, or comes before it.
    static bool isReachable(SetupStep step, SetupStep resumeAt);
    // A configuration and the run timer: the machine works without setup,
    // even if a later step is still open.
    static bool isSetUp(const Facts& facts);
    static bool shouldAutoOpen(const Facts& facts);

  private:
    Value value;
};

}  // namespace vorn
