#pragma once

#include <QObject>

class QWindow;

namespace driftwell {

/// Keeps a window from the person's clicks, keys and drops while a dialog of another program stands in front of it, as
/// Qt does for dialogs of its own. Only the keys that close the window or end the application get through.
class WindowBlock final : public QObject {
    Q_OBJECT

public:
    /// The window may go before this.
    explicit WindowBlock(QWindow& window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace driftwell
