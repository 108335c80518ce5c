#include "tooling/Updater.h"

namespace driftwell {

namespace {

QString versionLabelOf(const Bundle& bundle) {
    const auto textOf = [&bundle](const char* key) {
        return bundle.string(QLatin1StringView(key)).value_or(QStringLiteral("?"));
    };
    return QStringLiteral("%1 (%2)").arg(textOf("CFBundleShortVersionString"), textOf("CFBundleVersion"));
}

} // namespace

Updater::Updater(const Bundle& bundle)
    : m_isEnabled(bundle.has(QStringLiteral("SUFeedURL"))), m_versionLabel(versionLabelOf(bundle)) {}

Updater::~Updater() = default;

void Updater::checkForUpdates() {}

} // namespace driftwell
