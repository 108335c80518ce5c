#include "desktop/freedesktop/FocusedCopy.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QWindow>

#include <utility>

namespace driftwell {

FocusedCopy::FocusedCopy(QString text, std::chrono::milliseconds patience, QObject* parent)
    : QObject(parent), m_text(std::move(text)) {
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, [this] { end(false); });
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &FocusedCopy::copyWithKeyboard);
    m_patience.start(patience);
    copyWithKeyboard();
}

FocusedCopy::~FocusedCopy() {
    m_isTaken.succeed(false);
}

void FocusedCopy::copyWithKeyboard() {
    if (m_isCopied || QGuiApplication::focusWindow() == nullptr) {
        return;
    }
    m_isCopied = true;
    QClipboard* const clipboard = QGuiApplication::clipboard();
    clipboard->setText(m_text);
    // From here on: Qt tells of its own change before setText() returns, whether the compositor takes it or not.
    connect(clipboard, &QClipboard::dataChanged, this, [this, clipboard] { end(clipboard->ownsClipboard()); });
}

void FocusedCopy::end(bool isTaken) {
    if (m_isTaken.succeed(isTaken)) {
        deleteLater();
    }
}

} // namespace driftwell
