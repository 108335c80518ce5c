#include "apps/dw/CommandFailure.h"

#include "support/Cancellation.h"

namespace driftwell::dw {

FailedCommand cannotRead(const std::filesystem::path& path, const std::error_code& reason) {
    return FailedCommand({"system",
                          QStringLiteral("%1 cannot be read: %2")
                              .arg(QString::fromStdString(path.string()), QString::fromStdString(reason.message())),
                          {},
                          ExitCode::Failed});
}

CommandFailure commandFailure(const QString& message, std::optional<PlatformError::Kind> kind) {
    if (!kind) {
        return {"system", message, {}, ExitCode::Failed};
    }
    switch (*kind) {
    case PlatformError::Kind::Unreachable:
        return {"unreachable", message, {}, ExitCode::Unreachable};
    case PlatformError::Kind::NotTeam:
        return {"notTeam", message, {}, ExitCode::NotAllowed};
    case PlatformError::Kind::Api:
        return {"api", message, {}, ExitCode::Failed};
    case PlatformError::Kind::NoHost:
        return {"noHost", message, QStringLiteral("Choose a platform: dw host HOST"), ExitCode::Failed};
    case PlatformError::Kind::Unauthenticated:
        return {"unauthenticated", message, QStringLiteral("Sign in: dw login"), ExitCode::NotAllowed};
    }
    Q_UNREACHABLE();
}

CommandFailure commandFailure(const std::exception& thrown) {
    if (dynamic_cast<const Cancelled*>(&thrown) != nullptr) {
        return {"interrupted", QStringLiteral("Interrupted"), {}, ExitCode::Interrupted};
    }
    if (const auto* const usage = dynamic_cast<const WrongUsage*>(&thrown)) {
        return {"usage", usage->message(), usage->hint(), ExitCode::WrongUsage};
    }
    if (const auto* const failed = dynamic_cast<const FailedCommand*>(&thrown)) {
        return failed->failure();
    }
    const auto* const platform = dynamic_cast<const PlatformError*>(&thrown);
    return commandFailure(describe(thrown), platform != nullptr ? std::optional(platform->kind()) : std::nullopt);
}

} // namespace driftwell::dw
