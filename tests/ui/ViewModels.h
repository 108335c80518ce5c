#pragma once

#include "core/AppState.h"
#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/NewProject.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "ui/deploy/DeploySheetModel.h"
#include "ui/signin/SignInModel.h"
#include "ui/sites/SiteListModel.h"
#include "ui/sites/SitesModel.h"
#include "ui/tray/MenuBarModel.h"
#include "ui/window/ToolbarModel.h"

#include <memory>

/// The models of the views on the parts of one model.
namespace driftwell::tests {

[[nodiscard]] inline MenuBarModel menuBarOf(AppState& state) {
    return {state.connection(), state.catalog(), state.deployments(), state.siteOperations(), state.signIn()};
}

[[nodiscard]] inline ToolbarModel toolbarOf(AppState& state) {
    return {state.connection(), state.catalog(), false, nullptr};
}

[[nodiscard]] inline SignInModel signInOf(AppState& state) {
    return {state.connection(), state.signIn(), nullptr};
}

[[nodiscard]] inline SitesModel sitesOf(AppState& state) {
    return {state.connection(), state.catalog(), state.deployments(), state.siteOperations(), nullptr};
}

[[nodiscard]] inline SiteListModel siteListOf(AppState& state, WindowServices& desktop) {
    return {state.connection(),
            state.catalog(),
            state.deployments(),
            state.siteOperations(),
            state.newProject(),
            desktop,
            nullptr};
}

[[nodiscard]] inline DeploySheetModel deploySheetOf(const std::shared_ptr<DeployFlow>& flow, AppState& state,
                                                    WindowServices& desktop) {
    return {flow, state.connection(), state.catalog(), state.deployments(), state.siteOperations(), desktop, nullptr};
}

} // namespace driftwell::tests
