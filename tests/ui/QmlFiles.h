#pragma once

#include <QString>

#include <vector>

namespace driftwell::tests {

struct QmlFile {
    QString name;
    QString text;
};

/// Every file of the application's QML module, as the program carries it. Throws where there are none.
[[nodiscard]] std::vector<QmlFile> qmlFiles();

} // namespace driftwell::tests
