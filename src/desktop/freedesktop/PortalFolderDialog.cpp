#include "desktop/freedesktop/PortalFolderDialog.h"

#include "desktop/FileUrl.h"
#include "desktop/freedesktop/BusCall.h"
#include "desktop/freedesktop/Portal.h"
#include "desktop/freedesktop/WindowActivation.h"

#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QUuid>
#include <QWindow>

namespace driftwell {

namespace {

const QString fileChooserInterface = QStringLiteral("org.freedesktop.portal.FileChooser");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
constexpr uint firstVersionWithFolders = 3;
constexpr uint confirmed = 0;

/// Where the portal will put the request that is made with this token.
QString requestPath(const QDBusConnection& bus, const QString& token) {
    const QString sender = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
}

/// A window as the portal names it. On Wayland a window has no name to give without private interfaces of Qt.
QString portalNameOf(const QWindow* window) {
    const bool isX11 = QGuiApplication::platformName() == QLatin1StringView("xcb");
    return window && isX11 ? QStringLiteral("x11:%1").arg(window->winId(), 0, 16) : QString();
}

QVariantMap optionsOf(const FolderQuestion& question, const QString& token) {
    QVariantMap options{{QStringLiteral("handle_token"), token},
                        {QStringLiteral("accept_label"), question.prompt},
                        {QStringLiteral("directory"), true},
                        {QStringLiteral("modal"), true}};
    if (question.startFolder) {
        const char endOfPath = '\0';
        options.insert(QStringLiteral("current_folder"),
                       QByteArray::fromStdString(question.startFolder->string()) + endOfPath);
    }
    return options;
}

} // namespace

PortalFolderDialog::PortalFolderDialog(QDBusConnection bus, std::chrono::milliseconds timeout, QObject* parent)
    : FolderDialog(parent), m_bus(std::move(bus)), m_timeout(timeout) {
    auto* watcher =
        new QDBusServiceWatcher(portal::service(), m_bus, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] { end(std::nullopt); });
}

PortalFolderDialog::~PortalFolderDialog() {
    closeRequest();
}

void PortalFolderDialog::open(const FolderQuestion& question) {
    const QDBusMessage version = portal::call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                                              {fileChooserInterface, QStringLiteral("version")});
    callOnBus(m_bus, version, m_timeout, this, [this, question](const QDBusMessage& reply) {
        if (portal::unwrapped(reply.arguments().value(0)).toUInt() >= firstVersionWithFolders) {
            ask(question);
        } else {
            Q_EMIT unavailable();
        }
    });
}

void PortalFolderDialog::bringForward() {
    if (QWindow* window = applicationWindow()) {
        driftwell::bringForward(*window);
    }
}

void PortalFolderDialog::ask(const FolderQuestion& question) {
    const QString token = QStringLiteral("driftwell_") + QUuid::createUuid().toString(QUuid::Id128);
    // Before the call, since the answer may come before the call's reply.
    followRequest(requestPath(m_bus, token));

    QWindow* window = applicationWindow();
    if (window) {
        standBefore(*window);
    }
    const QDBusMessage call = portal::call(fileChooserInterface, QStringLiteral("OpenFile"),
                                           {portalNameOf(window), question.message, optionsOf(question, token)});
    callOnBus(m_bus, call, m_timeout, this, [this](const QDBusMessage& reply) { requestReplied(reply); });
}

void PortalFolderDialog::standBefore(QWindow& window) {
    m_block = std::make_unique<WindowBlock>(window);
    connect(&window, &QWindow::visibleChanged, this, [this](bool isVisible) {
        if (!isVisible && !m_request.isEmpty()) {
            closeRequest();
            Q_EMIT finished(std::nullopt);
        }
    });
}

void PortalFolderDialog::requestReplied(const QDBusMessage& reply) {
    if (m_request.isEmpty()) {
        return;
    }
    if (reply.type() == QDBusMessage::ErrorMessage) {
        closeRequest();
        Q_EMIT unavailable();
        return;
    }
    const QString path = reply.arguments().value(0).value<QDBusObjectPath>().path();
    if (path != m_request) {
        followRequest(path);
    }
}

void PortalFolderDialog::followRequest(const QString& path) {
    m_request = path;
    m_bus.connect(portal::service(), path, requestInterface, QStringLiteral("Response"), this,
                  SLOT(answered(uint, QVariantMap)));
}

void PortalFolderDialog::answered(uint response, const QVariantMap& results) {
    const QByteArray address = results.value(QStringLiteral("uris")).toStringList().value(0).toUtf8();
    end(response == confirmed ? pathOfFileUrl(QUrl::fromEncoded(address)) : std::nullopt);
}

void PortalFolderDialog::end(const std::optional<std::filesystem::path>& folder) {
    if (!m_request.isEmpty()) {
        m_request.clear();
        m_block.reset();
        Q_EMIT finished(folder);
    }
}

void PortalFolderDialog::closeRequest() {
    if (!m_request.isEmpty()) {
        m_bus.send(
            QDBusMessage::createMethodCall(portal::service(), m_request, requestInterface, QStringLiteral("Close")));
        m_request.clear();
        m_block.reset();
    }
}

} // namespace driftwell
