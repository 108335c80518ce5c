#pragma once

#include "desktop/WindowServices.h"
#include "platform/Models.h"
#include "support/Sleep.h"
#include "ui/controls/CopiedMark.h"
#include "ui/share/LibsModel.h"
#include "ui/share/PeopleModel.h"
#include "ui/share/ShareTexts.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <filesystem>
#include <optional>

namespace driftwell {

class Catalog;
class Collaboration;
class Connection;
class PlatformClient;
class SiteOperations;

/// The sheet in which a site's audience and its working settings are set. It holds no copy of what it edits: every
/// change goes to the platform at once, and what is shown follows the platform's answer. Lives as long as the sheet is
/// on screen; what it has started goes on without it.
class ShareSheetModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString inviteEmail READ inviteEmail WRITE setInviteEmail NOTIFY inviteChanged)
    Q_PROPERTY(bool canInvite READ canInvite NOTIFY inviteChanged)
    Q_PROPERTY(driftwell::PeopleModel* people READ people CONSTANT)
    Q_PROPERTY(QString peopleNote READ peopleNote NOTIFY siteChanged)
    Q_PROPERTY(bool accessBusy READ isAccessBusy NOTIFY busyChanged)
    Q_PROPERTY(QString accessError READ accessError NOTIFY errorsChanged)
    Q_PROPERTY(QStringList modes READ modes CONSTANT)
    Q_PROPERTY(int mode READ mode NOTIFY siteChanged)
    Q_PROPERTY(QString modeLabel READ modeLabel NOTIFY siteChanged)
    Q_PROPERTY(QString modeSymbol READ modeSymbol NOTIFY siteChanged)
    Q_PROPERTY(QString modeDescription READ modeDescription NOTIFY siteChanged)
    Q_PROPERTY(driftwell::LibsModel* libs READ libs CONSTANT)
    Q_PROPERTY(QString libError READ libError NOTIFY errorsChanged)
    Q_PROPERTY(bool clientComments READ hasClientComments NOTIFY siteChanged)
    Q_PROPERTY(bool collaboration READ isCollaborationAllowed NOTIFY siteChanged)
    Q_PROPERTY(bool collabBusy READ isCollabBusy NOTIFY busyChanged)
    Q_PROPERTY(QString linkTitle READ linkTitle NOTIFY linkChanged)
    Q_PROPERTY(bool copied READ isCopied NOTIFY copiedChanged)

public:
    /// The parts of the application's model that the sheet shows and changes. They outlive it.
    struct Parts {
        Connection& connection;
        Catalog& catalog;
        SiteOperations& operations;
        Collaboration& collaboration;
        PlatformClient& client;
        WindowServices& desktop;
        Sleeper sleep;
    };

    ShareSheetModel(const SiteInfo& site, const Parts& parts, QObject* parent);
    ~ShareSheetModel() override;

    [[nodiscard]] QString title() const;
    [[nodiscard]] QString inviteEmail() const { return m_inviteEmail; }
    void setInviteEmail(const QString& email);
    [[nodiscard]] bool canInvite() const;
    [[nodiscard]] PeopleModel* people() { return &m_people; }
    [[nodiscard]] QString peopleNote() const;
    /// A change of access is under way. Nothing else of it can be changed meanwhile: lists are sent whole, and the
    /// later one would undo the earlier.
    [[nodiscard]] bool isAccessBusy() const;
    /// Empty when there is nothing to tell; so are the other errors.
    [[nodiscard]] QString accessError() const;

    /// The modes of access, as they are called.
    [[nodiscard]] QStringList modes() const;
    /// The present one among them.
    [[nodiscard]] int mode() const;
    [[nodiscard]] QString modeLabel() const;
    [[nodiscard]] QString modeSymbol() const;
    [[nodiscard]] QString modeDescription() const;

    [[nodiscard]] LibsModel* libs() { return &m_libs; }
    [[nodiscard]] QString libError() const;
    [[nodiscard]] bool hasClientComments() const;
    [[nodiscard]] bool isCollaborationAllowed() const;
    [[nodiscard]] bool isCollabBusy() const;
    /// The offer to link the site's folder; empty where there is none to link.
    [[nodiscard]] QString linkTitle() const;
    [[nodiscard]] bool isCopied() const { return m_copied.isShown(); }

    /// Invites whose address was typed, where that can be.
    Q_INVOKABLE void invite();
    Q_INVOKABLE void remove(const QString& email);
    Q_INVOKABLE void chooseMode(int mode);
    Q_INVOKABLE void setClientComments(bool enabled);
    Q_INVOKABLE void setCollaboration(bool enabled);
    Q_INVOKABLE void setLib(const QString& lib, bool enabled);
    Q_INVOKABLE void link();
    Q_INVOKABLE void copyLink();
    Q_INVOKABLE void close();

Q_SIGNALS:
    void siteChanged();
    void inviteChanged();
    void busyChanged();
    void errorsChanged();
    void linkChanged();
    void copiedChanged();
    /// The sheet is to go.
    void closed();

private:
    [[nodiscard]] SiteInfo site() const;
    [[nodiscard]] SiteAccess access() const;
    void sendEmails(const QList<QString>& emails);
    void followSite();
    void followPeople();
    void followLibs();
    void followLink();
    [[nodiscard]] std::optional<std::filesystem::path> linkOffer() const;

    /// As it was when the sheet was asked for.
    SiteInfo m_site;
    Connection& m_connection;
    Catalog& m_catalog;
    SiteOperations& m_operations;
    Collaboration& m_collaboration;
    PlatformClient& m_client;
    WindowServices& m_desktop;
    PeopleModel m_people;
    LibsModel m_libs;
    QString m_inviteEmail;
    std::optional<std::filesystem::path> m_linkOffer;
    CopiedMark m_copied;
};

} // namespace driftwell
