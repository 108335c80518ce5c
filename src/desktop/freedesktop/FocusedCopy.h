#pragma once

#include "support/Completion.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>

namespace driftwell {

/// Puts a text on the clipboard of a Wayland compositor, which takes it only from the client that has the keyboard, and
/// only after the last thing that any other has copied. Waits for the keyboard, copies, and waits for the compositor to
/// tell of it (wl_data_device.selection, which Qt passes on as a change of the clipboard).
class FocusedCopy final : public QObject {
    Q_OBJECT

public:
    /// `patience` is how long all of it may take.
    FocusedCopy(QString text, std::chrono::milliseconds patience, QObject* parent);
    /// Not taken, unless it was.
    ~FocusedCopy() override;

    /// Whether the compositor has taken the text. Awaited once; this is deleted later, once it is decided.
    [[nodiscard]] Completion<bool> isTaken() const { return m_isTaken; }

private:
    void copyWithKeyboard();
    void end(bool isTaken);

    QString m_text;
    bool m_isCopied = false;
    QTimer m_patience;
    Completion<bool> m_isTaken;
};

} // namespace driftwell
