#include "ui/collab/ConflictFilesModel.h"

namespace driftwell {

void ConflictFilesModel::show(const QStringList& files) {
    QList<ConflictFile> next;
    next.reserve(files.size());
    for (const QString& path : files) {
        next.append({path});
    }
    RowList::show(next);
}

QStringList ConflictFilesModel::files() const {
    QStringList paths;
    for (const ConflictFile& file : rows()) {
        paths.append(file.key);
    }
    return paths;
}

QVariant ConflictFilesModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || (role != PathRole && role != Qt::DisplayRole)) {
        return {};
    }
    return rows()[index.row()].key;
}

QHash<int, QByteArray> ConflictFilesModel::roleNames() const {
    return {{PathRole, "path"}};
}

} // namespace driftwell
