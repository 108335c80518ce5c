#include "ui/share/PeopleModel.h"

namespace driftwell {

void PeopleModel::show(const SiteAccess& access, const std::optional<QString>& you) {
    QList<PersonWithAccess> people;
    if (access.owner) {
        // An owner may be invited besides, and is then there twice.
        people.append({.key = QStringLiteral("owner ") + *access.owner,
                       .email = *access.owner,
                       .you = access.owner == you,
                       .owner = true});
    }
    for (const QString& email : access.emails) {
        people.append({.key = QStringLiteral("viewer ") + email, .email = email, .you = email == you});
    }
    RowList::show(people);
}

QVariant PeopleModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const PersonWithAccess& person = rows()[index.row()];
    switch (role) {
    case EmailRole:
        return person.email;
    case Qt::DisplayRole:
    case PersonRole:
        return person.you ? person.email + QStringLiteral(" (you)") : person.email;
    case OwnerRole:
        return person.owner;
    default:
        return {};
    }
}

QHash<int, QByteArray> PeopleModel::roleNames() const {
    return {{EmailRole, "email"}, {PersonRole, "person"}, {OwnerRole, "owner"}};
}

} // namespace driftwell
