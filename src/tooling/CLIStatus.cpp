#include "tooling/CLIStatus.h"

namespace driftwell {

std::optional<QString> CLIStatus::otherInstallSource() const {
    if (kind != Kind::OtherInstall) {
        return std::nullopt;
    }
    if (text.contains(QLatin1StringView("node_modules"))) {
        return QStringLiteral("npm");
    }
    if (text.startsWith(QLatin1StringView("/opt/homebrew")) || text.contains(QLatin1StringView("/Cellar/"))) {
        return QStringLiteral("Homebrew");
    }
    return std::nullopt;
}

} // namespace driftwell
