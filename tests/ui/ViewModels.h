#pragma once

#include "tooling/Updater.h"
#include "ui/deploy/DeploySheetModel.h"
#include "ui/onboarding/OnboardingModel.h"
#include "ui/settings/SettingsModel.h"
#include "ui/signin/SignInModel.h"
#include "ui/sites/SiteListModel.h"
#include "ui/sites/SitesModel.h"
#include "ui/tray/MenuBarModel.h"
#include "ui/window/ToolbarModel.h"

#include <memory>

namespace driftwell {

class AppState;

} // namespace driftwell

/// The models of the views on the parts of one model.
namespace driftwell::tests {

[[nodiscard]] MenuBarModel menuBarOf(AppState& state, Updater& updater);
/// Of a copy that does not look for new versions.
[[nodiscard]] MenuBarModel menuBarOf(AppState& state);

[[nodiscard]] SettingsModel settingsOf(AppState& state, Updater& updater, WindowServices& desktop);

[[nodiscard]] OnboardingModel onboardingOf(AppState& state, WindowServices& desktop);

[[nodiscard]] ToolbarModel toolbarOf(AppState& state);

[[nodiscard]] SignInModel signInOf(AppState& state);

[[nodiscard]] SitesModel sitesOf(AppState& state);

[[nodiscard]] SiteListModel siteListOf(AppState& state, WindowServices& desktop);

[[nodiscard]] DeploySheetModel deploySheetOf(const std::shared_ptr<DeployFlow>& flow, AppState& state,
                                             WindowServices& desktop);

} // namespace driftwell::tests
