#include "tooling/PrivilegedCommand.h"

#include "support/Cancellation.h"
#include "support/ChildProcess.h"
#include "support/UnlessStopped.h"

#include <QStringList>

#include <memory>
#include <system_error>

namespace driftwell {

namespace {

/// Of pkexec(1), when the person has put the dialog away.
constexpr int dismissed = 126;

constexpr std::size_t keptComplaint = 16 * 1024;

QString lastLine(const std::string& complaint) {
    const QStringList lines = QString::fromStdString(complaint).split(QLatin1Char('\n'));
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        if (!line->trimmed().isEmpty()) {
            return line->trimmed();
        }
    }
    return QStringLiteral("pkexec failed");
}

Task<std::optional<QString>> runToItsEnd(ChildProcess::Command command) {
    const auto complaint = std::make_shared<std::string>();
    const auto read = [complaint](ChildProcess::Output kind, std::string_view piece) {
        if (kind == ChildProcess::Output::Error) {
            *complaint += piece;
            complaint->erase(0, complaint->size() - std::min(complaint->size(), keptComplaint));
        }
    };
    try {
        const ChildProcess::Result result = co_await ChildProcess::run(std::move(command), {}, read);
        if (result.succeeded()) {
            co_return std::nullopt;
        }
        if (!result.endedBySignal && result.status == dismissed) {
            co_return QStringLiteral("Password prompt cancelled.");
        }
    } catch (const std::system_error& failure) {
        co_return QString::fromStdString(failure.what());
    }
    co_return lastLine(*complaint);
}

} // namespace

std::string shellQuoted(std::string_view text) {
    std::string word = "'";
    for (const char character : text) {
        if (character == '\'') {
            word += "'\\''";
        } else {
            word += character;
        }
    }
    return word + "'";
}

Task<std::optional<QString>> runPrivileged(std::filesystem::path pkexec, std::vector<std::string> arguments,
                                           std::stop_token stop) {
    ChildProcess::Command command{pkexec, std::move(arguments), ProcessEnvironment::inherited()};
    // Without a dialog pkexec would ask on a terminal, which is not this program's to take.
    command.session = ChildProcess::Session::Own;
    return unlessStopped(runToItsEnd(std::move(command)), std::move(stop));
}

} // namespace driftwell
