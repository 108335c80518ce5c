#pragma once

#include "ui/controls/RowList.h"

#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

struct ConflictFile {
    /// The path relative to the folder.
    QString key;

    bool operator==(const ConflictFile&) const = default;
};

/// The files of a conflict that are still to be repaired. One that is repaired goes, and the others stay where they
/// are.
class ConflictFilesModel final : public RowList<ConflictFile> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the conflict sheet's model")

public:
    enum Role { PathRole = Qt::UserRole };

    explicit ConflictFilesModel(QObject* parent) : RowList(parent) {}

    void show(const QStringList& files);
    [[nodiscard]] QStringList files() const;

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;
};

} // namespace driftwell
