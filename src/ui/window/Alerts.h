#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>
#include <vector>

namespace driftwell {

/// The failures that a person is told until they dismiss them. Where several wait, the first of the list is told first.
class Alerts final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)

public:
    struct Alert {
        QString title;
        /// What happened; absent while there is nothing to tell.
        std::function<std::optional<QString>()> text;
        /// Clears what happened.
        std::function<void()> dismiss;
    };

    explicit Alerts(QObject* parent) : QObject(parent) {}

    /// A further kind of alert, after those before it. `changed` is the signal of `source` that tells of a new text;
    /// `source` outlives the list.
    template <class Source, class Signal> void add(Source& source, Signal changed, Alert alert) {
        m_alerts.push_back(std::move(alert));
        connect(&source, changed, this, &Alerts::changed);
    }

    /// Whether there is anything to tell.
    [[nodiscard]] bool isPending() const { return current() != nullptr; }
    /// Empty when there is nothing to tell.
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString text() const;
    /// The one that is told now has been read.
    Q_INVOKABLE void dismiss();

Q_SIGNALS:
    void changed();

private:
    [[nodiscard]] const Alert* current() const;

    std::vector<Alert> m_alerts;
};

} // namespace driftwell
