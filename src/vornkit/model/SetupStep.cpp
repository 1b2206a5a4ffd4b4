#include "model/SetupStep.h"

#include <system_error>

namespace vorn {

namespace {

bool isOnDisk(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

bool configFileExists(const std::optional<VornInstallation>& installation) {
    return installation && isOnDisk(installation->configFile);
}

bool anyRouteResolved(const VornConfig& config) {
    for (const VornRoute& route : config.routes) {
        if (isOnDisk(config.resolvedFile(route))) return true;
    }
    return false;
}

bool anyRepositoryCheckedOut(const VornConfig& config) {
    for (const VornRoute& route : config.routes) {
        for (const VornRepo& repo : route.repos) {
            if (isOnDisk(repo.dir)) return true;
        }
    }
    return false;
}

}  // namespace

std::string_view SetupStep::title() const {
    switch (value) {
        case requirements:
            return "Requirements";
        case signIn:
            return "Sign in";
        case workspace:
            return "Workspace";
        case thisMachine:
            return "This machine";
        case repositories:
            return "Repositories";
        case verify:
            return "Verify";
        case start:
            return "Start the vorn";
    }
    return "";
}

SetupStep::Facts SetupStep::facts(const VornSnapshot& snapshot,
                                  const std::optional<VornInstallation>& installation) {
    Facts facts;
    const bool fileExists = configFileExists(installation);
    facts.hasConfig = snapshot.config.has_value() || fileExists;
    if (snapshot.config) {
        facts.hasResolvedRoute = anyRouteResolved(*snapshot.config);
        facts.hasCheckout = anyRepositoryCheckedOut(*snapshot.config);
    } else if (fileExists) {
        facts.configError = snapshot.configError;
    }
    facts.hasSchedulerUnit = installation && installation->runLaunchAgent;
    return facts;
}

SetupStep SetupStep::resume(const Facts& facts) {
    if (!facts.hasConfig || facts.configError) return requirements;
    if (!facts.hasResolvedRoute) return signIn;
    if (!facts.hasCheckout) return repositories;
    if (!facts.hasSchedulerUnit) return verify;
    return start;
}

bool SetupStep::isComplete(SetupStep step, SetupStep resumeAt) {
    return step.value < resumeAt.value;
}

bool SetupStep::isReachable(SetupStep step, SetupStep resumeAt) {
    return step.value <= resumeAt.value;
}

bool SetupStep::isSetUp(const Facts& facts) {
    return facts.hasConfig && facts.hasSchedulerUnit;
}

bool SetupStep::shouldAutoOpen(const Facts& facts) {
    return !isSetUp(facts);
}

}  // namespace vorn
