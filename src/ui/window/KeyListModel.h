#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// Every key of the window and what it does, as the help shows them.
class KeyListModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")

public:
    enum Role { KeysRole = Qt::UserRole, ActionRole };

    explicit KeyListModel(QObject* parent) : QAbstractListModel(parent) {}

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void close() { Q_EMIT closed(); }

Q_SIGNALS:
    void closed();
};

} // namespace driftwell
