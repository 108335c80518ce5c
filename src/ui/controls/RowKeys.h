#pragma once

#include <QAbstractItemModel>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <chrono>

namespace driftwell {

/// Where the keys of a list lead: arrows, Home, End, the pages, and the letters of a row's name as they are typed one
/// after the other. A letter that is typed again and again goes through the rows that begin with it.
class RowKeys : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// Its rows; their names are their DisplayRole.
    Q_PROPERTY(QAbstractItemModel* model MEMBER m_model NOTIFY modelChanged REQUIRED)
    /// How many rows a page has; at least one is gone by.
    Q_PROPERTY(int page MEMBER m_page NOTIFY pageChanged)
    /// Letters that come within so many milliseconds belong together.
    Q_PROPERTY(int pause MEMBER m_pause NOTIFY pauseChanged)

public:
    using QObject::QObject;

    /// The row that a key leads to from `current`, which is -1 where there is none. -1 for a key that is none of a
    /// list's. Letters that no row begins with lead nowhere else.
    [[nodiscard]] Q_INVOKABLE int rowFor(int key, int modifiers, const QString& text, int current);

Q_SIGNALS:
    void modelChanged();
    void pageChanged();
    void pauseChanged();

private:
    [[nodiscard]] int rowTyped(const QString& text, int current);
    /// The first row from `first` on, and on from the beginning, that begins so; -1 where none does.
    [[nodiscard]] int find(const QString& beginning, int first) const;

    QPointer<QAbstractItemModel> m_model;
    int m_page = 1;
    int m_pause = 1000;
    QString m_typed;
    std::chrono::steady_clock::time_point m_typedAt;
};

} // namespace driftwell
