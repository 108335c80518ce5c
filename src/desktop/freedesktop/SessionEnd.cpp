#include "desktop/freedesktop/SessionEnd.h"

#include <QEvent>
#include <QGuiApplication>
#include <QSessionManager>

#include <utility>

namespace driftwell {

SessionEnd::SessionEnd(std::function<bool()> isWindowOpen) {
    qApp->installEventFilter(this);
    connect(qGuiApp, &QGuiApplication::saveStateRequest, this,
            [isWindowOpen = std::move(isWindowOpen)](QSessionManager& manager) {
                // Qt would have it started with an option of its own, before which others do not stand.
                QStringList command{QCoreApplication::applicationFilePath()};
                if (!isWindowOpen()) {
                    command.append(QStringLiteral("--tray"));
                }
                manager.setRestartCommand(command);
            });
}

bool SessionEnd::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Quit || watched != qApp || m_isAllowed) {
        return QObject::eventFilter(watched, event);
    }
    event->ignore();
    Q_EMIT wanted();
    return true;
}

} // namespace driftwell
