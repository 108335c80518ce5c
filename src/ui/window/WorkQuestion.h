#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class AppState;

/// The sheet that asks before something is done that what is under way would suffer from. It tells what that is as long
/// as it is open. Lives as long as the sheet is on screen.
class WorkQuestion final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    Q_PROPERTY(QString yes READ yes CONSTANT)
    Q_PROPERTY(QString no READ no CONSTANT)

public:
    enum class Intent { Quit, SignOut };

    /// `state` outlives the model.
    WorkQuestion(Intent intent, const AppState& state, QObject* parent);

    [[nodiscard]] Intent intent() const { return m_intent; }
    [[nodiscard]] QString title() const;
    /// What is under way, a line each, and what becomes of it.
    [[nodiscard]] QString text() const;
    /// The labels of the two buttons.
    [[nodiscard]] QString yes() const;
    [[nodiscard]] QString no() const;

    Q_INVOKABLE void confirm() { Q_EMIT confirmed(); }
    Q_INVOKABLE void cancel() { Q_EMIT cancelled(); }

Q_SIGNALS:
    void textChanged();
    void confirmed();
    void cancelled();

private:
    Intent m_intent;
    const AppState& m_state;
};

} // namespace driftwell
