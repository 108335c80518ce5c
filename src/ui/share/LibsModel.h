#pragma once

#include "platform/Models.h"
#include "ui/controls/RowList.h"

#include <QSet>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

struct LibSetting {
    /// The library's name.
    QString key;
    QString title;
    QString description;
    bool on = false;
    bool busy = false;

    bool operator==(const LibSetting&) const = default;
};

/// The platform's shared libraries, and which of them a site uses.
class LibsModel final : public RowList<LibSetting> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the share sheet's model")

public:
    enum Role {
        NameRole = Qt::UserRole,
        SymbolRole,
        TitleRole,
        DescriptionRole,
        OnRole,
        BusyRole,
    };

    explicit LibsModel(QObject* parent) : RowList(parent) {}

    /// `togglesInFlight` holds the keys of SiteOperations.
    void show(const QList<LibInfo>& libs, const SiteInfo& site, const QSet<QString>& togglesInFlight);

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;
};

} // namespace driftwell
