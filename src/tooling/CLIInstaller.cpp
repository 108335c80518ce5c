#include "tooling/CLIInstaller.h"

#include "support/Cancellation.h"
#include "support/ChildProcess.h"
#include "support/OwnThread.h"
#include "support/WhileAlive.h"
#include "tooling/CommandLookup.h"
#include "tooling/InteractiveShell.h"
#include "tooling/PrivilegedCommand.h"

#include <QByteArrayView>
#include <QUtf8StringView>

#include <memory>
#include <system_error>
#include <utility>

namespace driftwell {

namespace {

constexpr std::size_t longestVersion = 4096;
constexpr const char* plainShell = "/bin/sh";

std::filesystem::path shellOf(const CLIInstaller::System& system) {
    const std::string chosen = qEnvironmentVariable("SHELL").toStdString();
    if (!chosen.empty()) {
        return chosen;
    }
    return isExecutableFile(system.usualShell) ? system.usualShell : std::filesystem::path(plainShell);
}

/// What the tool prints for --version; absent when it fails.
Task<std::optional<QString>> helperVersion(std::filesystem::path helper, std::stop_token stop) {
    const ChildProcess::Command command{helper, {"--version"}, ProcessEnvironment::inherited()};
    const auto output = std::make_shared<std::string>();
    const auto read = [output](ChildProcess::Output kind, std::string_view piece) {
        if (kind == ChildProcess::Output::Standard && output->size() <= longestVersion) {
            *output += piece;
        }
    };
    ChildProcess::Result result;
    try {
        result = co_await ChildProcess::run(command, std::move(stop), read);
    } catch (const std::system_error&) {
        co_return std::nullopt;
    }
    const QUtf8StringView text(output->data(), static_cast<qsizetype>(output->size()));
    if (!result.succeeded() || output->size() > longestVersion || !text.isValidUtf8()) {
        co_return std::nullopt;
    }
    co_return text.toString().trimmed();
}

} // namespace

CLIInstaller::CLIInstaller(const Bundle& bundle, System system)
    : m_commandName(bundle.string(QStringLiteral("DWCommandName")).value_or(QStringLiteral("dw"))),
      m_helperPath(bundle.helpers().empty() ? std::filesystem::path() : bundle.helpers() / "dw"),
      m_linkPath(system.linkFolder / m_commandName.toStdString()),
      m_system(std::move(system)) {}

CLIInstaller::~CLIInstaller() = default;

Task<> CLIInstaller::detect() {
    return m_tasks.run(look());
}

Task<> CLIInstaller::look() {
    const std::stop_token stop = m_tasks.token();
    std::vector<std::string> shellPath =
        co_await whileAlive(this, interactiveShellPath(shellOf(m_system), m_system.shellTimeout, m_system.sleep, stop));
    const auto lookUp = [helper = m_helperPath, link = m_linkPath, name = m_commandName.toStdString(),
                         system = m_system, path = std::move(shellPath), own = qgetenv("PATH").toStdString()]() {
        std::vector<std::string> entries = path;
        for (const std::vector<std::string>& more :
             {systemSearchPath(system.pathsFile, system.pathsFolder), splitSearchPath(own)}) {
            entries.insert(entries.end(), more.begin(), more.end());
        }
        return classify(helper, link, name, tidied(entries));
    };
    CommandLookup found;
    try {
        found = co_await whileAlive(this, runOnOwnThread(lookUp, stop));
    } catch (const std::system_error&) {
        // Without a thread nothing can be found out, and what is known stays.
        co_return;
    }
    std::optional<QString> version;
    if (found.status != Status::unavailable()) {
        version = co_await whileAlive(this, helperVersion(m_helperPath, stop));
    }
    m_commandPath = found.commandPath;
    m_canRemove = found.status == Status::linkedToThisApp() && found.hasOwnLink;
    m_status = found.status;
    m_version = version;
}

Task<> CLIInstaller::install() {
    return runAsAdministrator("mkdir -p " + m_system.linkFolder.string() + " && ln -sfn " +
                              shellQuoted(m_helperPath.string()) + " " + shellQuoted(m_linkPath.string()));
}

Task<> CLIInstaller::remove() {
    if (!m_canRemove) {
        co_return;
    }
    co_await runAsAdministrator("rm -f " + shellQuoted(m_linkPath.string()));
}

Task<> CLIInstaller::runAsAdministrator(std::string command) {
    return m_tasks.run(privileged(std::move(command)));
}

Task<> CLIInstaller::privileged(std::string command) {
    if (m_busy) {
        co_return;
    }
    m_busy = true;
    m_error = std::nullopt;
    std::vector<std::string> arguments{"/bin/sh", "-c", std::move(command)};
    const std::optional<QString> failure =
        co_await whileAlive(this, runPrivileged(m_system.pkexec, std::move(arguments), m_tasks.token()));
    m_error = failure;
    co_await whileAlive(this, look());
    m_busy = false;
}

Task<> CLIInstaller::end() {
    return m_tasks.end();
}

} // namespace driftwell
