#pragma once

#include "platform/Models.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class SiteOperations;

/// The sheet that has a site's name typed before the site is deleted. Lives as long as the sheet is on screen.
class DeleteConfirmModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString placeholder READ placeholder CONSTANT)
    Q_PROPERTY(QString typedName READ typedName WRITE setTypedName NOTIFY typedNameChanged)
    Q_PROPERTY(bool confirmed READ isConfirmed NOTIFY typedNameChanged)

public:
    /// The part outlives the model.
    DeleteConfirmModel(const SiteInfo& site, SiteOperations& operations, QObject* parent);

    /// Whether what was typed is the name of the site, letter by letter; blanks around it do not count.
    [[nodiscard]] static bool isConfirmed(const QString& typed, const QString& name);

    [[nodiscard]] QString title() const;
    [[nodiscard]] QString placeholder() const;
    [[nodiscard]] QString typedName() const { return m_typedName; }
    void setTypedName(const QString& name);
    [[nodiscard]] bool isConfirmed() const { return isConfirmed(m_typedName, m_site.name); }

    Q_INVOKABLE void cancel();
    /// Begins the deletion when the name has been typed. How it went is seen in the list, or told by an alert.
    Q_INVOKABLE void confirm();

Q_SIGNALS:
    void typedNameChanged();
    /// The sheet is to go.
    void closed();

private:
    SiteInfo m_site;
    SiteOperations& m_operations;
    QString m_typedName;
};

} // namespace driftwell
