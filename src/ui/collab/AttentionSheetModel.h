#pragma once

#include "desktop/WindowServices.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class PlatformClient;

/// The sheet of a folder that is left alone until somebody has put it right. It does not look at the folder. Lives as
/// long as the sheet is on screen.
class AttentionSheetModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString text READ text NOTIFY detailChanged)
    Q_PROPERTY(bool copied READ isCopied NOTIFY copiedChanged)

public:
    /// `detail` is the text of CollabState::needsAttention. The client and the desktop outlive the model.
    AttentionSheetModel(const QString& site, const QString& detail, PlatformClient& client, WindowServices& desktop,
                        QObject* parent);

    [[nodiscard]] const QString& site() const { return m_site; }
    void setDetail(const QString& detail);
    [[nodiscard]] QString text() const;
    /// Once copied, that stays said until the sheet goes.
    [[nodiscard]] bool isCopied() const { return m_copied; }

    /// Copies what an agent is to be told. Does nothing without a folder.
    Q_INVOKABLE void copyInstructions();
    Q_INVOKABLE void close();

Q_SIGNALS:
    void detailChanged();
    void copiedChanged();
    /// The sheet is to go.
    void closed();

private:
    QString m_site;
    QString m_detail;
    PlatformClient& m_client;
    WindowServices& m_desktop;
    bool m_copied = false;
};

} // namespace driftwell
