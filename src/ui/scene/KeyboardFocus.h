#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickView>

namespace driftwell {

/// Gives the keyboard back to what had it before a menu or a sheet, when that has closed; where that is gone meanwhile,
/// to where the view itself has it. Qt Quick does so for its own ApplicationWindow alone.
class KeyboardFocus final : public QObject {
    Q_OBJECT

public:
    /// `view` outlives it.
    explicit KeyboardFocus(QQuickView& view);

Q_SIGNALS:
    /// No item has it, for now at least.
    void left();

private:
    void follow();
    void restore();

    QQuickView& m_view;
    /// The last in the view itself, not in a popup over it.
    QPointer<QQuickItem> m_last;
    bool m_wasInView = false;
};

} // namespace driftwell
