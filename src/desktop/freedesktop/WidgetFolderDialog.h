#pragma once

#include "desktop/freedesktop/FolderDialog.h"

#include <QFileDialog>

namespace driftwell {

/// Qt's dialog, or the one of the platform theme where Qt has one. It shows only folders whose names are text.
class WidgetFolderDialog : public FolderDialog {
    Q_OBJECT

public:
    explicit WidgetFolderDialog(QObject* parent);

    void open(const FolderQuestion& question) override;
    void bringForward() override;

private:
    QFileDialog m_dialog;
};

} // namespace driftwell
