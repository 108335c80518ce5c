#pragma once

#include "core/AppState.h"
#include "core/Catalog.h"
#include "core/Connection.h"
#include "desktop/WindowServices.h"
#include "ui/DW.h"

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
    Q_PROPERTY(QColor statusColor READ statusColor NOTIFY statusChanged)
    Q_PROPERTY(QString statusTip READ statusTip NOTIFY statusChanged)
    Q_PROPERTY(QString host READ host NOTIFY hostChanged)
    Q_PROPERTY(QString filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(bool hasIdentity READ hasIdentity NOTIFY identityChanged)
    Q_PROPERTY(QString personName READ personName NOTIFY identityChanged)
    Q_PROPERTY(QString personEmail READ personEmail NOTIFY identityChanged)
    Q_PROPERTY(QString personTip READ personTip NOTIFY identityChanged)

public:
    /// `state` and `desktop` outlive the model.
    ToolbarModel(AppState& state, WindowServices& desktop, QObject* parent);

    [[nodiscard]] QString title() const;
    [[nodiscard]] QColor statusColor() const {
        return DW::color(statusToken(m_state.connection().status()), m_desktop.colorScheme());
    }
    [[nodiscard]] QString statusTip() const { return statusTip(m_state.connection().status()); }
    [[nodiscard]] QString host() const;
    [[nodiscard]] QString filter() const { return m_state.catalog().filter(); }
    void setFilter(const QString& filter) { m_state.catalog().setFilter(filter); }
    [[nodiscard]] bool hasIdentity() const { return m_state.connection().identity().has_value(); }
    [[nodiscard]] QString personName() const;
    [[nodiscard]] QString personEmail() const;
    [[nodiscard]] QString personTip() const;

    [[nodiscard]] static DW::Token statusToken(const Connection::Status& status);
    [[nodiscard]] static QString statusTip(const Connection::Status& status);

Q_SIGNALS:
    void statusChanged();
    void hostChanged();
    void filterChanged();
    void identityChanged();

private:
    AppState& m_state;
    WindowServices& m_desktop;
};

} // namespace driftwell
