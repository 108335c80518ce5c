#pragma once

#include "core/Gates.h"
#include "support/Sleep.h"
#include "tooling/CLIInstaller.h"
#include "tooling/LocalServerController.h"

namespace driftwell {

/// The system around the application's model: time, git and the programs of the local tooling. A test has one of its
/// own.
struct AppSystem {
    Sleeper sleep = sleepFor;
    Gates::GitProbe gitToolsInstalled = [] {
        return Git::toolsInstalled();
    };
    CLIInstaller::System cli = {};
    LocalServerController::System localServer = {};
};

} // namespace driftwell
