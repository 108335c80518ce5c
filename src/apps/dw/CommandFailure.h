#pragma once

#include "apps/dw/ErrorKind.h"
#include "platform/PlatformConfig.h"
#include "platform/PlatformError.h"
#include "platform/SentChange.h"

#include <QString>

#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace driftwell::dw {

/// A command that ended without success, as it is shown and as the process ends.
struct CommandFailure {
    ErrorKind kind = ErrorKind::System;
    QString message;
    /// What the person can do about it; empty for the one of its kind.
    QString hint = {};
    /// The files that it is about, where it is about files.
    std::vector<std::string> files = {};
    /// What there is to know of a platform's failure beside the message.
    PlatformErrorDetails details = {};

    /// The same failure, which the platform has to do with.
    [[nodiscard]] CommandFailure at(const PlatformConfig& config) const;

    [[nodiscard]] ExitCode exitCode() const { return recordOf(kind).exitCode; }
    /// What the person can do about it; never empty.
    [[nodiscard]] QString advice() const;
};

/// Thrown for what was asked for in a way that cannot be done.
class WrongUsage final : public std::runtime_error {
public:
    explicit WrongUsage(const QString& message, QString hint = {})
        : std::runtime_error(message.toStdString()), m_message(message), m_hint(std::move(hint)) {}

    [[nodiscard]] const QString& message() const { return m_message; }
    [[nodiscard]] const QString& hint() const { return m_hint; }

private:
    QString m_message;
    QString m_hint;
};

/// Thrown for a failure that only this tool knows of.
class FailedCommand final : public std::runtime_error {
public:
    explicit FailedCommand(CommandFailure failure)
        : std::runtime_error(failure.message.toStdString()), m_failure(std::move(failure)) {}

    [[nodiscard]] const CommandFailure& failure() const { return m_failure; }

private:
    CommandFailure m_failure;
};

/// To be thrown for a file or folder that is there and cannot be read, so that nothing is concluded from it.
[[nodiscard]] FailedCommand cannotRead(const std::filesystem::path& path, const std::error_code& reason);

/// The failure for what a call threw, Cancelled, WrongUsage and FailedCommand among it.
[[nodiscard]] CommandFailure commandFailure(const std::exception& thrown);

/// The failure for a text of which the kind of platform call is known; without a kind, a failure of this machine.
[[nodiscard]] CommandFailure commandFailure(const QString& message, std::optional<PlatformError::Kind> kind,
                                            const PlatformErrorDetails& details = {});

/// The failure of a change that was sent whole and not answered, by what became of it, which is not that it was made.
[[nodiscard]] CommandFailure unansweredFailure(const CommandFailure& failure, SentChange::Kind change,
                                               const QString& site, const ChangeOutcome& outcome);

} // namespace driftwell::dw
