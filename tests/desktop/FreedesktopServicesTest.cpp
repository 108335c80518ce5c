#include "desktop/freedesktop/FreedesktopServices.h"

#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/OpenedAddresses.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/ScopedVariable.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusVariant>
#include <QFileDialog>

#include <gmock/gmock.h>

namespace driftwell::tests {

class FreedesktopServicesTest : public testing::Test {
protected:
    OpenedAddresses opened;
    ScopedVariable override{"DRIFTWELL_COLOR_SCHEME", std::nullopt};
    PrivateBus bus;
    FreedesktopServices desktop{bus.connect()};
};

TEST_F(FreedesktopServicesTest, OpenAddressesAsTheyAre) {
    for (const char* address :
         {"https://site.example.org/a%20b?c=d&e=%2F#f", "http://driftwell.localhost:8787/", "mailto:ada@example.org"}) {
        const std::size_t before = opened.list().size();
        desktop.openUrl(QUrl::fromEncoded(address));
        waitUntil([&] { return opened.list().size() > before; });
        EXPECT_EQ(opened.list().back(), address);
    }
}

TEST_F(FreedesktopServicesTest, ShowItemsInTheFileManager) {
    const QString name = QStringLiteral("org.freedesktop.FileManager1");
    const FakeService fileManager(bus.connect(), name);
    desktop.showInFileManager("/home/ada/site");
    waitUntil([&fileManager] { return !fileManager.calls().empty(); });
    EXPECT_EQ(fileManager.calls().front().arguments().value(0).toStringList(),
              QStringList{QStringLiteral("file:///home/ada/site")});
}

TEST_F(FreedesktopServicesTest, ReplaceTheClipboardsContent) {
    desktop.copyText(QStringLiteral("first"));
    desktop.copyText(QStringLiteral("Copy “this” — 🏖\nand this"));
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("Copy “this” — 🏖\nand this"));
}

TEST_F(FreedesktopServicesTest, ChooseAFolder) {
    const auto question =
        desktop.chooseFolder(QStringLiteral("Deploy"), QStringLiteral("Choose a folder"), std::nullopt);
    QFileDialog* dialog = nullptr;
    waitUntil([&dialog] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            dialog = widget->isVisible() && !dialog ? qobject_cast<QFileDialog*>(widget) : dialog;
        }
        return dialog != nullptr;
    });
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Choose a folder"));
    dialog->reject();
    waitUntil([&question] { return question.isReady(); });
}

TEST_F(FreedesktopServicesTest, FollowTheColorScheme) {
    waitUntil([this] { return desktop.isColorSchemeSettled(); });
    ASSERT_EQ(desktop.colorScheme(), ColorScheme::Light);
    int changes = 0;
    QObject::connect(&desktop, &WindowServices::colorSchemeChanged, &desktop, [&changes] { ++changes; });

    FakeService portal(bus.connect(), QStringLiteral("org.freedesktop.portal.Desktop"));
    portal.on(QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("ReadOne"),
              [](const QDBusMessage& call) { return call.createReply(QVariant::fromValue(QDBusVariant(1U))); });

    waitUntil([&changes] { return changes == 1; });
    EXPECT_EQ(desktop.colorScheme(), ColorScheme::Dark);
}

TEST_F(FreedesktopServicesTest, SayThatTheColorSchemeIsSettled) {
    int settled = 0;
    FreedesktopServices another(bus.connect());
    QObject::connect(&another, &FreedesktopServices::colorSchemeSettled, &another, [&settled] { ++settled; });
    waitUntil([&settled] { return settled == 1; });
    EXPECT_TRUE(another.isColorSchemeSettled());
}

} // namespace driftwell::tests
