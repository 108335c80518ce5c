#pragma once

#include "platform/Models.h"
#include "platform/Timestamp.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class Catalog;
class Connection;
class SiteOperations;

/// The sheet that asks before a site goes back to the version before. Lives as long as the sheet is on screen.
class RollbackConfirmModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString explainer READ explainer NOTIFY explainerChanged)

public:
    /// The parts outlive the model.
    RollbackConfirmModel(const SiteInfo& site, Connection& connection, Catalog& catalog, SiteOperations& operations,
                         QObject* parent);

    /// What a rollback does to the version that is live.
    [[nodiscard]] static QString explainer(const SiteInfo& site, Timestamp now);

    [[nodiscard]] QString title() const;
    [[nodiscard]] QString explainer() const;

    Q_INVOKABLE void cancel();
    /// Begins the rollback. How it went is seen in the list, or told by an alert.
    Q_INVOKABLE void confirm();

Q_SIGNALS:
    void explainerChanged();
    /// The sheet is to go.
    void closed();

private:
    [[nodiscard]] SiteInfo site() const;

    /// As it was when the sheet was asked for.
    SiteInfo m_site;
    Catalog& m_catalog;
    SiteOperations& m_operations;
};

} // namespace driftwell
