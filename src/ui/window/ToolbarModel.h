#pragma once

#include "core/Catalog.h"
#include "core/Connection.h"
#include "ui/style/Tone.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// The window's bar: what it says of the connection and the person, and the filter.
class ToolbarModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(driftwell::Tones::Tone statusTone READ statusTone NOTIFY statusChanged)
    Q_PROPERTY(QString statusTip READ statusTip NOTIFY statusChanged)
    Q_PROPERTY(QString host READ host NOTIFY hostChanged)
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(bool hasIdentity READ hasIdentity NOTIFY identityChanged)
    Q_PROPERTY(QString personName READ personName NOTIFY identityChanged)
    Q_PROPERTY(QString personEmail READ personEmail NOTIFY identityChanged)
    Q_PROPERTY(QString personTip READ personTip NOTIFY identityChanged)

public:
    /// The parts outlive the model. `developmentCopy` is said in the title.
    ToolbarModel(Connection& connection, Catalog& catalog, bool developmentCopy, QObject* parent);

    [[nodiscard]] QString title() const;
    [[nodiscard]] Tone statusTone() const { return statusTone(m_connection.status()); }
    [[nodiscard]] QString statusTip() const { return statusTip(m_connection.status()); }
    [[nodiscard]] QString host() const;
    [[nodiscard]] QString filter() const { return m_catalog.filter(); }
    void setFilter(const QString& filter) { m_catalog.setFilter(filter); }
    [[nodiscard]] bool hasIdentity() const { return m_connection.identity().has_value(); }
    [[nodiscard]] QString personName() const;
    [[nodiscard]] QString personEmail() const;
    [[nodiscard]] QString personTip() const;

    [[nodiscard]] static Tone statusTone(const Connection::Status& status);
    [[nodiscard]] static QString statusTip(const Connection::Status& status);

Q_SIGNALS:
    void statusChanged();
    void hostChanged();
    void filterChanged();
    void identityChanged();

private:
    Connection& m_connection;
    Catalog& m_catalog;
    bool m_developmentCopy;
};

} // namespace driftwell
