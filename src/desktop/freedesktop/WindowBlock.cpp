#include "desktop/freedesktop/WindowBlock.h"

#include <QKeyEvent>
#include <QKeySequence>
#include <QWindow>

namespace driftwell {

namespace {

bool leadsOut(const QKeyEvent& key) {
    return key.matches(QKeySequence::Quit) || key.matches(QKeySequence::Close);
}

bool isInput(const QEvent& event) {
    switch (event.type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
        return !leadsOut(static_cast<const QKeyEvent&>(event));
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        return true;
    default:
        return false;
    }
}

} // namespace

WindowBlock::WindowBlock(QWindow& window) {
    window.installEventFilter(this);
}

bool WindowBlock::eventFilter(QObject*, QEvent* event) {
    if (!isInput(*event)) {
        return false;
    }
    // So that the program which something is dragged from shows that it cannot be dropped now.
    event->ignore();
    return true;
}

} // namespace driftwell
