#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

class DesktopServices;
class Gates;

/// The sheet that offers to install the git that shared projects need. Lives as long as the sheet is on screen.
class GitInstallModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")

public:
    /// The gates and the desktop outlive the model.
    GitInstallModel(Gates& gates, DesktopServices& desktop, QObject* parent);

    /// Closes the sheet if git is there by now.
    Q_INVOKABLE void checkAgain();
    Q_INVOKABLE void notNow();
    /// Has the desktop offer the installation; the sheet stays.
    Q_INVOKABLE void install();

private:
    Gates& m_gates;
    DesktopServices& m_desktop;
};

} // namespace driftwell
