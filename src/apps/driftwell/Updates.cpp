#include "apps/driftwell/Updates.h"

#include "desktop/freedesktop/FreedesktopServices.h"
#include "desktop/freedesktop/PackageKitUpdates.h"

#include <utility>

namespace driftwell {

namespace {

const QString installKey = QStringLiteral("install");

std::unique_ptr<PackageUpdates> packagesFor(const Bundle& bundle) {
    if (!bundle.has(QStringLiteral("SUFeedURL"))) {
        return nullptr;
    }
    return std::make_unique<PackageKitUpdates>(QDBusConnection::systemBus(), FreedesktopServices::usualTimeout);
}

} // namespace

Updates::Updates(const Bundle& bundle, std::unique_ptr<QSettings> defaults, QDBusConnection sessionBus)
    : Updates(bundle, packagesFor(bundle), std::move(defaults), std::move(sessionBus)) {}

Updates::Updates(const Bundle& bundle, std::unique_ptr<PackageUpdates> packages, std::unique_ptr<QSettings> defaults,
                 QDBusConnection sessionBus)
    : m_sessionBus(std::move(sessionBus)),
      m_packages(std::move(packages)),
      m_updater(bundle, m_packages.get(), std::move(defaults)) {
    connect(&m_updater, &Updater::ended, this, &Updates::tell);
}

Updates::~Updates() = default;

void Updates::tell(Updater::Outcome outcome, const QString& text) {
    m_notification =
        std::make_unique<Notification>(m_sessionBus, FreedesktopServices::usualTimeout, contentOf(outcome, text));
    // Later: what comes of it ends the notification, which is in the middle of telling.
    const auto install = [this](const QString& key) {
        if (key == installKey) {
            m_updater.installNow();
        }
    };
    connect(m_notification.get(), &Notification::actionChosen, this, install, Qt::QueuedConnection);
}

Notification::Content Updates::contentOf(Updater::Outcome outcome, const QString& text) {
    switch (outcome) {
    case Updater::Outcome::UpToDate:
        return {.title = QStringLiteral("Driftwell is up to date"),
                .text = QStringLiteral("%1 is the newest version.").arg(text),
                .actions = {}};
    case Updater::Outcome::Failed:
        return {.title = QStringLiteral("Driftwell could not be updated"), .text = text, .actions = {}};
    case Updater::Outcome::NeedsConsent:
        return {.title = QStringLiteral("Driftwell %1 is ready to install").arg(text),
                .text = QStringLiteral("Installing it asks for your password once."),
                .actions = {{installKey, QStringLiteral("Install…")}}};
    case Updater::Outcome::Installed:
        return {.title = QStringLiteral("Driftwell %1 is installed").arg(text),
                .text = QStringLiteral("It runs from the next start on."),
                .actions = {}};
    }
    Q_UNREACHABLE();
}

} // namespace driftwell
