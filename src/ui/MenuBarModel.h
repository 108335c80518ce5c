#pragma once

#include "core/AppState.h"
#include "core/Catalog.h"
#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "desktop/WindowServices.h"
#include "ui/DW.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <QVariantList>

namespace driftwell {

/// One row of the tray panel's recent sites.
struct RecentSite {
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(QString age MEMBER age CONSTANT)
    Q_PROPERTY(bool deploying MEMBER deploying CONSTANT)
    QML_ANONYMOUS

public:
    QString name;
    /// How long ago it was deployed, in a few letters.
    QString age;
    bool deploying = false;

    bool operator==(const RecentSite&) const = default;
};

/// The panel of the tray item: the state of the connection, the sites deployed last, and the few commands that need no
/// window. Its texts are those of the moment at which they are read.
class MenuBarModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made with the tray item")
    Q_PROPERTY(QColor statusColor READ statusColor NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(QVariantList recentSites READ recentSiteRows NOTIFY changed)
    Q_PROPERTY(QString authTitle READ authTitle NOTIFY changed)

public:
    /// What the tray item's icon tells.
    enum class Icon { Glyph, Pulsing, Warning };
    /// What can be done about the account.
    enum class AuthAction { None, SignIn, SignOut };

    /// `state` and `desktop` outlive the model.
    MenuBarModel(AppState& state, WindowServices& desktop);

    [[nodiscard]] static Icon icon(const AppState& state);
    [[nodiscard]] static DW::Token statusToken(const Connection::Status& status);
    [[nodiscard]] static QString title(const AppState& state);
    [[nodiscard]] static QString headerSubtitle(const AppState& state);
    /// Host, number of sites and what is under way, while connected.
    [[nodiscard]] static QString subtitle(const AppState& state);
    [[nodiscard]] static AuthAction authAction(const AppState& state);
    [[nodiscard]] static QList<RecentSite> recentSites(const AppState& state, Timestamp now);

    [[nodiscard]] Icon icon() const { return icon(m_state); }
    [[nodiscard]] QColor statusColor() const {
        return DW::color(statusToken(m_state.connection().status()), m_desktop.colorScheme());
    }
    [[nodiscard]] QString title() const { return title(m_state); }
    [[nodiscard]] QString subtitle() const { return headerSubtitle(m_state); }
    [[nodiscard]] QVariantList recentSiteRows() const;
    /// Empty when nothing can be done about the account.
    [[nodiscard]] QString authTitle() const;

    Q_INVOKABLE void openSite(int row);
    Q_INVOKABLE void openWindow() { Q_EMIT windowRequested(); }
    Q_INVOKABLE void runAuthAction();
    Q_INVOKABLE void quit() { Q_EMIT quitRequested(); }

Q_SIGNALS:
    void changed();
    void windowRequested();
    void quitRequested();

private:
    AppState& m_state;
    WindowServices& m_desktop;
};

} // namespace driftwell
