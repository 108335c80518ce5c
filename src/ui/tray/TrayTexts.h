#pragma once

#include "core/ConnectionStatus.h"
#include "platform/Models.h"
#include "platform/PlatformConfig.h"
#include "ui/style/Tone.h"

#include <QList>
#include <QString>

#include <optional>

/// What the tray item and its panel say, as functions of what is known.
namespace driftwell {

/// What is known of the platform, the person and what is under way.
struct TrayFacts {
    std::optional<PlatformConfig> config = {};
    ConnectionStatus status = ConnectionStatus::connecting();
    std::optional<Identity> identity = {};
    qsizetype sites = 0;
    bool isDeploying = false;
    bool isSigningIn = false;
    /// The application runs the platform itself.
    bool localServerRuns = false;
};

/// What the tray item's icon tells.
enum class TrayIconKind { Glyph, Pulsing, Warning };

/// What can be done about the account.
enum class AuthAction { None, SignIn, SignOut };

[[nodiscard]] TrayIconKind trayIconKind(const TrayFacts& facts);
[[nodiscard]] Tone trayTone(const ConnectionStatus& status);
[[nodiscard]] QString trayTitle(const TrayFacts& facts);
[[nodiscard]] QString traySubtitle(const TrayFacts& facts);
[[nodiscard]] AuthAction authAction(const TrayFacts& facts);
/// Empty when nothing can be done about the account.
[[nodiscard]] QString authTitle(AuthAction action);

} // namespace driftwell
