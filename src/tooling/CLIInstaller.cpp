#include "tooling/CLIInstaller.h"

#include <utility>

namespace driftwell {

CLIInstaller::CLIInstaller(const Bundle& bundle, System system)
    : m_commandName(bundle.string(QStringLiteral("DWCommandName")).value_or(QStringLiteral("dw"))),
      m_helperPath(bundle.helpers().empty() ? std::filesystem::path() : bundle.helpers() / "dw"),
      m_linkPath(system.linkFolder / m_commandName.toStdString()),
      m_system(std::move(system)) {}

CLIInstaller::~CLIInstaller() = default;

Task<> CLIInstaller::detect() {
    co_return;
}

Task<> CLIInstaller::install() {
    co_return;
}

Task<> CLIInstaller::remove() {
    co_return;
}

Task<> CLIInstaller::end() {
    return m_tasks.end();
}

} // namespace driftwell
