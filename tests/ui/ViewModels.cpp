#include "tests/ui/ViewModels.h"

#include "core/AppState.h"

namespace driftwell::tests {

MenuBarModel menuBarOf(AppState& state) {
    return {state.connection(), state.catalog(), state.deployments(), state.siteOperations(), state.signIn()};
}

ToolbarModel toolbarOf(AppState& state) {
    return {state.connection(), state.catalog(), false, nullptr};
}

SignInModel signInOf(AppState& state) {
    return {state.connection(), state.signIn(), nullptr};
}

SitesModel sitesOf(AppState& state) {
    return {state.connection(), state.catalog(), state.deployments(), state.siteOperations(), nullptr};
}

SiteListModel siteListOf(AppState& state, WindowServices& desktop) {
    return {state.connection(),
            state.catalog(),
            state.deployments(),
            state.siteOperations(),
            state.newProject(),
            state.client(),
            desktop,
            nullptr};
}

DeploySheetModel deploySheetOf(const std::shared_ptr<DeployFlow>& flow, AppState& state, WindowServices& desktop) {
    return {flow, state.connection(), state.catalog(), state.deployments(), state.siteOperations(), desktop, nullptr};
}

} // namespace driftwell::tests
