#pragma once

#include <QAccessible>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QSet>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// Lets a screen reader meet the rows of a list from the top down. A view keeps its rows in the order in which it has
/// made them, and shows those that have gone out of sight again further down. While nothing reads the screen, nothing
/// is done.
class RowOrder : public QObject, private QAccessible::ActivationObserver {
    Q_OBJECT
    QML_ELEMENT
    /// What the rows are children of.
    Q_PROPERTY(QQuickItem* rows READ rows WRITE setRows NOTIFY rowsChanged REQUIRED)

public:
    explicit RowOrder(QObject* parent = nullptr);
    ~RowOrder() override;

    [[nodiscard]] QQuickItem* rows() const { return m_rows; }
    void setRows(QQuickItem* rows);

Q_SIGNALS:
    void rowsChanged();
    void moved();

private:
    void accessibilityActiveChanged(bool active) override;
    void followChildren();
    void arrange();

    QPointer<QQuickItem> m_rows;
    QSet<const QQuickItem*> m_followed;
};

} // namespace driftwell
