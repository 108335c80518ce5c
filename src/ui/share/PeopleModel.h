#pragma once

#include "platform/Models.h"
#include "ui/controls/RowList.h"

#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace driftwell {

struct PersonWithAccess {
    QString key;
    QString email;
    bool you = false;
    bool owner = false;

    bool operator==(const PersonWithAccess&) const = default;
};

/// The people who have access to a site: its owner, and then who was invited, in the platform's order.
class PeopleModel final : public RowList<PersonWithAccess> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the share sheet's model")

public:
    enum Role {
        EmailRole = Qt::UserRole,
        /// The address, and whether it is that of who looks.
        PersonRole,
        OwnerRole,
    };

    explicit PeopleModel(QObject* parent) : RowList(parent) {}

    /// `you` is the address of who is signed in.
    void show(const SiteAccess& access, const std::optional<QString>& you);

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;
};

} // namespace driftwell
