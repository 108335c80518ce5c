#include "tests/ui/QmlFiles.h"

#include <QDirIterator>
#include <QFile>

#include <stdexcept>

namespace driftwell::tests {

std::vector<QmlFile> qmlFiles() {
    std::vector<QmlFile> files;
    QDirIterator entries(QStringLiteral(":/driftwell/Driftwell"), {QStringLiteral("*.qml")});
    while (entries.hasNext()) {
        QFile file(entries.next());
        if (!file.open(QIODevice::ReadOnly)) {
            throw std::runtime_error("cannot read " + file.fileName().toStdString());
        }
        files.push_back({entries.fileName(), QString::fromUtf8(file.readAll())});
    }
    if (files.empty()) {
        throw std::runtime_error("the program carries no QML");
    }
    return files;
}

} // namespace driftwell::tests
