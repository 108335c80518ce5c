#include "ui/window/RelinkBannerModel.h"

#include "tooling/CLIInstaller.h"

namespace driftwell {

RelinkBannerModel::RelinkBannerModel(CLIInstaller& cli, QObject* parent) : QObject(parent), m_cli(cli) {
    for (const auto signal : {&CLIInstaller::statusChanged, &CLIInstaller::busyChanged, &CLIInstaller::errorChanged}) {
        connect(&cli, signal, this, &RelinkBannerModel::changed);
    }
}

QString RelinkBannerModel::text(const QString& commandName) {
    return QStringLiteral("The ") + commandName + QStringLiteral(" command points at an old copy of Driftwell");
}

bool RelinkBannerModel::isVisible() const {
    return m_cli.status().kind == CLIStatus::Kind::LinkedElsewhere;
}

QString RelinkBannerModel::text() const {
    return text(m_cli.commandName());
}

QString RelinkBannerModel::error() const {
    return m_cli.error().value_or(QString());
}

bool RelinkBannerModel::isBusy() const {
    return m_cli.busy();
}

void RelinkBannerModel::relink() {
    detach(m_cli.install());
}

} // namespace driftwell
