#pragma once

#include <QDBusConnection>
#include <QList>
#include <QObject>
#include <QString>

#include <chrono>
#include <memory>

namespace driftwell {

/// A message to the person that the desktop shows in its own manner: org.freedesktop.Notifications on the session bus
/// (Desktop Notifications 1.2), which is started by the bus if need be. It is shown from its construction to its end at
/// most, unless it is left; the person or the desktop may put it away before. Where nobody shows notifications, nothing
/// happens.
class Notification : public QObject {
    Q_OBJECT

public:
    struct Action {
        /// What tells the actions of one notification apart.
        QString key;
        QString label;
    };

    /// Plain texts, without markup.
    struct Content {
        QString title;
        QString text;
        /// Not every desktop shows them.
        QList<Action> actions;
    };

    /// `timeout` is how long the desktop has to answer.
    Notification(QDBusConnection bus, std::chrono::milliseconds timeout, const Content& content);
    ~Notification() override;

    /// Has it stay when this ends, as long as the desktop shows it: for the last word of a process.
    void leave() { m_isLeft = true; }

Q_SIGNALS:
    /// `activationToken` is what the desktop hands over so that a window may be raised, empty where it has none.
    void actionChosen(const QString& key, const QByteArray& activationToken);

private Q_SLOTS:
    void rememberToken(uint id, const QString& token);
    void takeAction(uint id, const QString& key);
    void forget(uint id);

private:
    /// What the answer may find after the notification's end.
    struct Shown {
        /// Of the desktop; 0 while it is not shown.
        uint id = 0;
        bool isWithdrawn = false;
    };

    void listen();
    void send(std::chrono::milliseconds timeout, const Content& content);
    [[nodiscard]] bool isThis(uint id) const;

    QDBusConnection m_bus;
    std::shared_ptr<Shown> m_shown = std::make_shared<Shown>();
    bool m_isLeft = false;
    QByteArray m_activationToken;
};

} // namespace driftwell
