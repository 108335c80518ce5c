#include "tooling/Updater.h"

#include "support/Cancellation.h"
#include "support/WhileAlive.h"

#include <QScopeGuard>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>

namespace driftwell {

namespace {

using namespace std::chrono_literals;

const QString lastCheckKey = QStringLiteral("lastUpdateCheck");
constexpr auto day = 24h;
/// Until a check is tried again that could not be made.
constexpr auto retryPause = 1h;

QString versionLabelOf(const Bundle& bundle) {
    const auto textOf = [&bundle](const char* key) {
        return bundle.string(QLatin1StringView(key)).value_or(QStringLiteral("?"));
    };
    return QStringLiteral("%1 (%2)").arg(textOf("CFBundleShortVersionString"), textOf("CFBundleVersion"));
}

std::optional<Timestamp> storedCheck(QSettings* defaults) {
    bool isNumber = false;
    const qint64 seconds = defaults ? defaults->value(lastCheckKey).toLongLong(&isNumber) : 0;
    return isNumber && seconds > 0 ? std::optional<Timestamp>(std::chrono::seconds(seconds)) : std::nullopt;
}

QList<PackageUpdate> ofOurPackages(const QList<PackageUpdate>& updates) {
    static const QSet<QString> names = {QStringLiteral("driftwell"), QStringLiteral("driftwell-cli"),
                                        QStringLiteral("driftwell-sandbox")};
    QList<PackageUpdate> ours;
    std::copy_if(updates.begin(), updates.end(), std::back_inserter(ours),
                 [](const PackageUpdate& update) { return names.contains(update.name); });
    return ours;
}

} // namespace

Updater::Updater(const Bundle& bundle, PackageUpdates* packages, std::unique_ptr<QSettings> defaults, Sleeper sleep,
                 std::function<Timestamp()> now)
    : m_isEnabled(bundle.has(QStringLiteral("SUFeedURL"))),
      m_versionLabel(versionLabelOf(bundle)),
      m_packages(m_isEnabled ? packages : nullptr),
      m_defaults(std::move(defaults)),
      m_sleep(std::move(sleep)),
      m_now(std::move(now)),
      m_lastUpdateCheckDate(storedCheck(m_defaults.get())) {
    if (m_packages) {
        connect(m_packages, &PackageUpdates::readyChanged, this, &Updater::follow);
        follow();
    }
}

Updater::~Updater() = default;

void Updater::follow() {
    m_canCheck = m_packages && m_packages->isReady() && !m_isAtWork;
}

void Updater::start() {
    if (m_packages && !std::exchange(m_started, true)) {
        m_tasks.run(checkDaily());
    }
}

Task<> Updater::checkDaily() {
    const std::stop_token stop = m_tasks.token();
    for (;;) {
        const std::optional<Timestamp> last = m_lastUpdateCheckDate;
        // A record of the future is of a clock that was wrong.
        const auto age = last && *last <= m_now() ? m_now() - *last : std::chrono::microseconds(day);
        if (age < day) {
            co_await whileAlive(this, m_sleep(std::chrono::ceil<std::chrono::milliseconds>(day - age), stop));
            continue;
        }
        if (!m_canCheck) {
            co_await whileAlive(this, pauseUntilReady());
            continue;
        }
        co_await whileAlive(this, check(Trigger::Schedule));
        if (m_lastUpdateCheckDate.value() == last) {
            co_await whileAlive(this, m_sleep(retryPause, stop));
        }
    }
}

Task<> Updater::pauseUntilReady() {
    const std::stop_token stop = m_tasks.token();
    StopScope pause(stop);
    const auto wake = connect(this, &Updater::canCheckChanged, this, [this, &pause] {
        if (m_canCheck) {
            pause.requestStop();
        }
    });
    const auto forget = qScopeGuard([wake] { disconnect(wake); });
    try {
        co_await whileAlive(this, m_sleep(retryPause, pause.token()));
    } catch (const Cancelled&) {
        throwIfCancelled(stop);
    }
}

void Updater::checkForUpdates() {
    if (m_canCheck) {
        m_tasks.run(check(Trigger::Person));
    }
}

Task<> Updater::check(Trigger trigger) {
    m_isAtWork = true;
    follow();
    try {
        co_await whileAlive(this, findAndInstall(trigger));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        if (trigger == Trigger::Person) {
            Q_EMIT ended(Outcome::Failed, QString::fromUtf8(failure.what()));
        }
    }
    m_isAtWork = false;
    follow();
}

Task<> Updater::findAndInstall(Trigger trigger) {
    const std::stop_token stop = m_tasks.token();
    co_await whileAlive(this, m_packages->refresh(stop));
    recordCheck();
    const QList<PackageUpdate> updates = ofOurPackages(co_await whileAlive(this, m_packages->updates(stop)));
    if (updates.isEmpty()) {
        if (trigger == Trigger::Person) {
            Q_EMIT ended(Outcome::UpToDate, m_versionLabel);
        }
        co_return;
    }
    co_await whileAlive(this, m_packages->download(updates, stop));
    co_await whileAlive(this, install(updates, PackageUpdates::Consent::NotAsked));
}

Task<> Updater::install(QList<PackageUpdate> updates, PackageUpdates::Consent consent) {
    const QString version = updates.front().version;
    m_found = updates;
    const PackageUpdates::Installation installation =
        co_await whileAlive(this, m_packages->install(std::move(updates), consent, m_tasks.token()));
    if (installation == PackageUpdates::Installation::NeedsConsent) {
        Q_EMIT ended(Outcome::NeedsConsent, version);
        co_return;
    }
    const std::optional<PackageUpdate> missed = co_await whileAlive(this, notInstalled());
    if (missed) {
        throw std::runtime_error(
            QStringLiteral("%1 %2 was not installed").arg(missed->name, missed->version).toStdString());
    }
    m_found.clear();
    Q_EMIT ended(Outcome::Installed, version);
}

Task<std::optional<PackageUpdate>> Updater::notInstalled() {
    QList<PackageUpdate> offered;
    try {
        offered = co_await whileAlive(this, m_packages->updates(m_tasks.token()));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception&) {
        // Its word holds where it cannot be checked.
        co_return std::nullopt;
    }
    for (const PackageUpdate& update : m_found) {
        if (offered.contains(update)) {
            co_return update;
        }
    }
    co_return std::nullopt;
}

void Updater::installNow() {
    if (m_packages && !m_found.isEmpty() && !m_isAtWork) {
        m_tasks.run(installWithConsent());
    }
}

Task<> Updater::installWithConsent() {
    m_isAtWork = true;
    follow();
    try {
        co_await whileAlive(this, install(m_found, PackageUpdates::Consent::MayBeAsked));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& failure) {
        Q_EMIT ended(Outcome::Failed, QString::fromUtf8(failure.what()));
    }
    m_isAtWork = false;
    follow();
}

void Updater::recordCheck() {
    const Timestamp moment = m_now();
    m_lastUpdateCheckDate = moment;
    if (m_defaults) {
        m_defaults->setValue(
            lastCheckKey,
            static_cast<qint64>(std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count()));
    }
}

Task<> Updater::end() {
    return m_tasks.end();
}

} // namespace driftwell
