#include "apps/dw/CommandFailure.h"

#include "core/Format.h"
#include "support/Cancellation.h"

namespace driftwell::dw {

namespace {

ErrorKind kindOf(PlatformErrorReason reason, ErrorKind otherwise) {
    switch (reason) {
    case PlatformErrorReason::TimedOut:
        return ErrorKind::TimedOut;
    case PlatformErrorReason::Proxy:
        return ErrorKind::Proxy;
    case PlatformErrorReason::Certificate:
        return ErrorKind::Certificate;
    case PlatformErrorReason::TooLarge:
        return ErrorKind::TooLarge;
    case PlatformErrorReason::RateLimited:
        return ErrorKind::RateLimited;
    case PlatformErrorReason::NoPrevious:
        return ErrorKind::NoPrevious;
    case PlatformErrorReason::Folder:
        return ErrorKind::System;
    case PlatformErrorReason::EmptyFolder:
        return ErrorKind::EmptyFolder;
    case PlatformErrorReason::BadFileName:
        return ErrorKind::BadFileName;
    case PlatformErrorReason::Git:
        return ErrorKind::Git;
    case PlatformErrorReason::NotLinked:
        return ErrorKind::NotLinked;
    case PlatformErrorReason::NoAuthor:
        return ErrorKind::Api;
    case PlatformErrorReason::NotHttps:
    case PlatformErrorReason::Unspecified:
        return otherwise;
    }
    Q_UNREACHABLE();
}

ErrorKind kindOf(PlatformError::Kind kind, const PlatformErrorDetails& details) {
    switch (kind) {
    case PlatformError::Kind::Unreachable:
        return kindOf(details.reason, ErrorKind::Unreachable);
    case PlatformError::Kind::NotTeam:
        return ErrorKind::NotTeam;
    case PlatformError::Kind::Api:
        return kindOf(details.reason, ErrorKind::Api);
    case PlatformError::Kind::NoHost:
        return ErrorKind::NoHost;
    case PlatformError::Kind::Unauthenticated:
        return ErrorKind::Unauthenticated;
    }
    Q_UNREACHABLE();
}

/// Says which token was refused, where one was: to sign in again is of no use while another one comes first.
void nameToken(CommandFailure& failure) {
    const QString& host = failure.details.host;
    const bool isRefused = failure.kind == ErrorKind::Unauthenticated;
    switch (failure.details.token) {
    case TokenSource::Environment:
        if (isRefused) {
            failure.message = QStringLiteral("%1 does not accept DW_TOKEN").arg(host);
            failure.hint = QStringLiteral("Put a token into DW_TOKEN that %1 accepts, or sign in without it: unset "
                                          "DW_TOKEN, then dw login")
                               .arg(host);
        } else if (failure.kind == ErrorKind::NotTeam) {
            failure.hint = QStringLiteral("Ask the team to add whom DW_TOKEN belongs to, or use another token.");
        }
        break;
    case TokenSource::Stored:
        if (isRefused) {
            failure.message = QStringLiteral("%1 does not accept the token that is stored for it").arg(host);
            failure.hint = QStringLiteral("Sign in again: dw login");
        }
        break;
    case TokenSource::Given:
        if (isRefused) {
            failure.message = QStringLiteral("%1 does not accept this token").arg(host);
            failure.hint = QStringLiteral("Bring another token, or sign in with the browser: dw login");
        }
        break;
    case TokenSource::None:
        break;
    }
}

QString waitHint(std::chrono::seconds wait) {
    return QStringLiteral("Wait %1, and try again.").arg(Format::counted(wait.count(), QStringLiteral("second")));
}

QString hintFor(const PlatformErrorDetails& details) {
    if (details.retryAfter) {
        return waitHint(*details.retryAfter);
    }
    if (details.reason == PlatformErrorReason::NoAuthor) {
        return QStringLiteral("dw whoami shows whom it takes you for.");
    }
    if (details.reason == PlatformErrorReason::NotHttps && !details.host.isEmpty()) {
        return QStringLiteral("If the platform has no https, try http://: dw host http://%1").arg(details.host);
    }
    return {};
}

QString hintFor(const std::error_code& error) {
    if (error == std::errc::no_space_on_device) {
        return QStringLiteral("Make room on the disk, and run it again.");
    }
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted) {
        return QStringLiteral("Look at who may read and write there (ls -l).");
    }
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
        return QStringLiteral("Look at the path. It counts from the present folder on.");
    }
    return {};
}

/// The sentence that follows the failure's own where the change was made and somebody has published since.
QString overtakenText(SentChange::Kind change, const QString& site, const QString& by) {
    const QString who = by.isEmpty() ? QStringLiteral("somebody") : by;
    return change == SentChange::Kind::Rollback
               ? QStringLiteral("%1 was rolled back, and %2 has published it since.").arg(site, who)
               : QStringLiteral("It went live, and %1 has published %2 since.").arg(who, site);
}

} // namespace

CommandFailure CommandFailure::at(const PlatformConfig& config) const {
    CommandFailure failure = *this;
    failure.details.host = config.shownHost();
    return failure;
}

QString CommandFailure::advice() const {
    return hint.isEmpty() ? QString::fromUtf8(recordOf(kind).hint) : hint;
}

FailedCommand cannotRead(const std::filesystem::path& path, const std::error_code& reason) {
    return FailedCommand({ErrorKind::System,
                          QStringLiteral("%1 cannot be read: %2")
                              .arg(QString::fromStdString(path.string()), QString::fromStdString(reason.message())),
                          hintFor(reason)});
}

CommandFailure commandFailure(const QString& message, std::optional<PlatformError::Kind> kind,
                              const PlatformErrorDetails& details) {
    if (!kind) {
        return {kindOf(details.reason, ErrorKind::System), message, hintFor(details)};
    }
    CommandFailure failure{kindOf(*kind, details), message, hintFor(details)};
    failure.details = details;
    nameToken(failure);
    return failure;
}

CommandFailure commandFailure(const std::exception& thrown) {
    if (dynamic_cast<const Cancelled*>(&thrown) != nullptr) {
        return {ErrorKind::Interrupted, QStringLiteral("Interrupted")};
    }
    if (const auto* const usage = dynamic_cast<const WrongUsage*>(&thrown)) {
        return {ErrorKind::Usage, usage->message(), usage->hint()};
    }
    if (const auto* const failed = dynamic_cast<const FailedCommand*>(&thrown)) {
        return failed->failure();
    }
    const QString message = describe(thrown);
    if (const auto* const system = dynamic_cast<const std::system_error*>(&thrown)) {
        return {ErrorKind::System, message, hintFor(system->code())};
    }
    if (const auto* const platform = dynamic_cast<const PlatformError*>(&thrown)) {
        return commandFailure(message, platform->kind(), platform->details());
    }
    return commandFailure(message, std::nullopt);
}

CommandFailure unansweredFailure(const CommandFailure& failure, SentChange::Kind change, const QString& site,
                                 const ChangeOutcome& outcome) {
    CommandFailure result = failure;
    if (outcome.kind == ChangeOutcome::Kind::NotDone) {
        result.hint = (change == SentChange::Kind::Deletion
                           ? QStringLiteral("All of it was sent, and a minute later %1 was still there.")
                           : QStringLiteral("All of it was sent, and a minute later %1 had not changed."))
                          .arg(site) +
                      QStringLiteral(" It can be tried again.");
        return result;
    }
    result.kind = ErrorKind::UnknownOutcome;
    result.message += u' ' + (outcome.kind == ChangeOutcome::Kind::Overtaken
                                  ? overtakenText(change, site, outcome.by)
                                  : QStringLiteral("All of it was sent, and what became of it could not be learned."));
    result.hint =
        QStringLiteral("Look before you try again: ") +
        (change == SentChange::Kind::Deletion ? QStringLiteral("dw list") : QStringLiteral("dw history %1").arg(site));
    return result;
}

} // namespace driftwell::dw
