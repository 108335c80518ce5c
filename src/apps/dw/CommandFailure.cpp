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

CommandFailure unansweredFailure(const CommandFailure& failure, const QString& site, const ChangeOutcome& outcome) {
    const QString look = QStringLiteral("Look before you try again: dw history %1").arg(site);
    switch (outcome.kind) {
    case ChangeOutcome::Kind::NotDone: {
        CommandFailure notLive = failure;
        notLive.hint =
            QStringLiteral("All of it was sent, and a minute later %1 had not changed. It can be tried again.")
                .arg(site);
        return notLive;
    }
    case ChangeOutcome::Kind::Overtaken:
        return {"unknownOutcome",
                QStringLiteral("%1 It went live, and %2 has published %3 since.")
                    .arg(failure.message, outcome.by.isEmpty() ? QStringLiteral("somebody") : outcome.by, site),
                look, ExitCode::UnknownOutcome};
    case ChangeOutcome::Kind::Done:
    case ChangeOutcome::Kind::Unknown:
        return {
            "unknownOutcome",
            QStringLiteral("%1 All of it was sent, and what became of it could not be learned.").arg(failure.message),
            look, ExitCode::UnknownOutcome};
    }
    Q_UNREACHABLE();
}

} // namespace driftwell::dw
