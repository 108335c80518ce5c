#pragma once

#include "tests/desktop/FakeService.h"

#include <QStringList>
#include <QVariantMap>

namespace driftwell::tests {

/// A portal that shows dialogs for folders, in which the test is the person.
class FakePortal : public FakeService {
public:
    static constexpr uint confirmed = 0;
    static constexpr uint cancelled = 1;

    static const QString fileChooser;
    static const QString openFile;

    FakePortal(QDBusConnection bus, uint version);

    void waitForDialog();

    [[nodiscard]] QVariantMap options() const;

    /// Where the request of the last call is.
    [[nodiscard]] QString usualRequest() const { return usualRequest(lastCallOf(openFile)); }

    void answer(uint response, const QStringList& addresses, const QString& request);

private:
    static QString usualRequest(const QDBusMessage& call);
};

} // namespace driftwell::tests
