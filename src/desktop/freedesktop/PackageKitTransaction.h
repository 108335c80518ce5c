#pragma once

#include "desktop/PackageUpdates.h"
#include "support/Completion.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantList>

#include <chrono>
#include <functional>

namespace driftwell {

/// One piece of work of PackageKit, from its creation to its end. Later calls after the end change nothing.
class PackageKitTransaction final : public QObject {
    Q_OBJECT

public:
    struct Work {
        /// Of the interface org.freedesktop.PackageKit.Transaction.
        QString method;
        QVariantList arguments;
        /// Whether polkit may ask the person for a password.
        bool isInteractive = false;
    };

    /// `answerTimeout` is how long PackageKit has to take each call, `workTimeout` how long all of its work may take.
    PackageKitTransaction(QDBusConnection bus, std::chrono::milliseconds answerTimeout,
                          std::chrono::milliseconds workTimeout, Work work);
    /// Cancels work that has not ended.
    ~PackageKitTransaction() override;

    /// Decided when the work has ended, with std::runtime_error and PackageKit's words when it failed.
    [[nodiscard]] Completion<> finished() const { return m_finished; }
    /// The packages that it has named.
    [[nodiscard]] const QList<PackageUpdate>& packages() const { return m_packages; }
    /// It failed since it may not be done without a password.
    [[nodiscard]] bool wasRefused() const { return m_wasRefused; }

private Q_SLOTS:
    void addPackage(uint info, const QString& id, const QString& summary);
    void noteError(uint code, const QString& details);
    void finish(uint exit, uint runtime);

private:
    void begin(const QString& path);
    void call(const QString& method, const QVariantList& arguments, std::function<void()> then);
    void fail(const QString& reason);
    void listen(const char* signal, const char* slot);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_answerTimeout;
    Work m_work;
    /// Empty until PackageKit has given one.
    QString m_path;
    QString m_error;
    bool m_wasRefused = false;
    /// By PackageKit's own word; whoever awaits the end may have been told of another one before.
    bool m_hasEnded = false;
    QList<PackageUpdate> m_packages;
    QTimer m_timeout;
    Completion<> m_finished;
};

} // namespace driftwell
