#include "tests/ui/ViewModels.h"

#include "core/AppState.h"

namespace driftwell::tests {

MenuBarModel menuBarOf(AppState& state, Updater& updater) {
    return {state.connection(),  state.catalog(), state.deployments(), state.siteOperations(), state.signIn(),
            state.localServer(), updater};
}

MenuBarModel menuBarOf(AppState& state) {
    // A copy without a feed, in which nothing of it changes.
    static Updater none{Bundle()};
    return menuBarOf(state, none);
}

SettingsModel settingsOf(AppState& state, Updater& updater, WindowServices& desktop) {
    return {state.connection(), state.signIn(), state.cli(), updater, desktop.loginItem()};
}

OnboardingModel onboardingOf(AppState& state, WindowServices& desktop) {
    return {state.connection(), state.signIn(),      state.gates(), state.cli(),
            state.desktop(),    desktop.loginItem(), nullptr};
}

ToolbarModel toolbarOf(AppState& state) {
    return {state.connection(), state.catalog(), false, nullptr};
}

SignInModel signInOf(AppState& state) {
    return {state.connection(), state.signIn(), nullptr};
}

SitesModel sitesOf(AppState& state) {
    return {state.connection(),     state.catalog(),       state.deployments(),
            state.siteOperations(), state.collaboration(), nullptr};
}

SiteListModel siteListOf(AppState& state, WindowServices& desktop) {
    return {state.connection(),
            state.catalog(),
            state.deployments(),
            state.siteOperations(),
            state.collaboration(),
            state.newProject(),
            state.client(),
            desktop,
            nullptr};
}

DeploySheetModel deploySheetOf(const std::shared_ptr<DeployFlow>& flow, AppState& state, WindowServices& desktop) {
    return {flow,
            state.connection(),
            state.catalog(),
            state.deployments(),
            state.newProject(),
            state.siteOperations(),
            desktop,
            nullptr};
}

} // namespace driftwell::tests
