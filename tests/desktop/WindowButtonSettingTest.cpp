#include "desktop/freedesktop/WindowButtonSetting.h"

#include "desktop/freedesktop/WindowButtonLayouts.h"
#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <QDBusVariant>

#include <gtest/gtest.h>

#include <memory>

namespace driftwell::tests {

namespace {

const QString xfconfName = QStringLiteral("org.xfce.Xfconf");
const QString xfconfPath = QStringLiteral("/org/xfce/Xfconf");
const QString buttonPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString buttonPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString buttonSettings = QStringLiteral("org.freedesktop.portal.Settings");
const QString buttonGroup = QStringLiteral("org.gnome.desktop.wm.preferences");
const QString buttonKey = QStringLiteral("button-layout");
const QString getProperty = QStringLiteral("GetProperty");

QVariant variantOf(const QString& text) {
    return QVariant::fromValue(QDBusVariant(text));
}

WindowButtons rightSide() {
    return xfwmButtons(QStringLiteral("|HMC"));
}

} // namespace

class WindowButtonSettingTest : public testing::Test {
protected:
    std::unique_ptr<FakeService> portalWith(const QString& layout) {
        auto portal = std::make_unique<FakeService>(bus.connect(), buttonPortal);
        portal->on(buttonSettings, QStringLiteral("ReadOne"),
                   [layout](const QDBusMessage& call) { return call.createReply(variantOf(layout)); });
        return portal;
    }

    std::unique_ptr<FakeService> xfconfWith(const FakeService::Answer& answer) {
        auto xfconf = std::make_unique<FakeService>(bus.connect(), xfconfName);
        xfconf->on(xfconfName, getProperty, answer);
        return xfconf;
    }

    std::unique_ptr<WindowButtonSetting> settingOf(const char* desktop) {
        const ScopedVariable name("XDG_CURRENT_DESKTOP", desktop);
        return std::make_unique<WindowButtonSetting>(bus.connect(), deadline);
    }

    static void expect(const WindowButtonSetting& setting, const WindowButtons& buttons) {
        waitUntil([&] { return setting.value() == buttons; });
    }

    TestFolder configuration;
    ScopedVariable configurationFolder{"XDG_CONFIG_HOME", QByteArray::fromStdString(configuration.path().string())};
    ScopedVariable systemConfiguration{"XDG_CONFIG_DIRS",
                                       QByteArray::fromStdString((configuration.path() / "system").string())};
    PrivateBus bus;
};

TEST_F(WindowButtonSettingTest, StandOnTheLeftWhereNobodySays) {
    for (const char* desktop : {"", "GNOME", "XFCE"}) {
        const auto setting = settingOf(desktop);
        settle();
        EXPECT_EQ(setting->value(), WindowButtonSetting::usual()) << desktop;
    }
    EXPECT_EQ(WindowButtonSetting::usual().left.size(), 3);
}

TEST_F(WindowButtonSettingTest, StandWhereThePortalSaysAndFollowIt) {
    const auto portal = portalWith(QStringLiteral("appmenu:minimize,maximize,close"));
    const auto setting = settingOf("ubuntu:GNOME");
    expect(*setting, rightSide());
    EXPECT_EQ(portal->lastCallOf(QStringLiteral("ReadOne")).arguments(), (QVariantList{buttonGroup, buttonKey}));
    int changes = 0;
    QObject::connect(setting.get(), &WindowButtonSetting::changed, setting.get(), [&changes] { ++changes; });
    portal->emitSignal(buttonPortalPath, buttonSettings, QStringLiteral("SettingChanged"),
                       {buttonGroup, buttonKey, variantOf(QStringLiteral("close:"))});
    expect(*setting, gnomeButtons(QStringLiteral("close:")));
    EXPECT_EQ(changes, 1);
}

TEST_F(WindowButtonSettingTest, AnotherKindOfValueSaysNothing) {
    FakeService portal(bus.connect(), buttonPortal);
    portal.on(buttonSettings, QStringLiteral("ReadOne"),
              [](const QDBusMessage& call) { return call.createReply(QVariant::fromValue(QDBusVariant(7U))); });
    const auto setting = settingOf("GNOME");
    waitUntil([&portal] { return !portal.calls().empty(); });
    settle();
    EXPECT_EQ(setting->value(), WindowButtonSetting::usual());
}

TEST_F(WindowButtonSettingTest, OnXfceStandWhereXfwmHasThem) {
    const auto xfconf =
        xfconfWith([](const QDBusMessage& call) { return call.createReply(variantOf(QStringLiteral("C|HM"))); });
    const auto portal = portalWith(QStringLiteral("appmenu:close"));
    const auto setting = settingOf("XFCE");
    expect(*setting, xfwmButtons(QStringLiteral("C|HM")));
    EXPECT_EQ(xfconf->lastCallOf(getProperty).arguments(),
              (QVariantList{QStringLiteral("xfwm4"), QStringLiteral("/general/button_layout")}));
    EXPECT_TRUE(portal->calls().empty()) << "the setting of another desktop";

    const auto tell = [&xfconf](const QString& channel, const QString& layout) {
        xfconf->emitSignal(xfconfPath, xfconfName, QStringLiteral("PropertyChanged"),
                           {channel, QStringLiteral("/general/button_layout"), variantOf(layout)});
    };
    tell(QStringLiteral("xfce4-panel"), QStringLiteral("|C"));
    tell(QStringLiteral("xfwm4"), QStringLiteral("M|"));
    expect(*setting, xfwmButtons(QStringLiteral("M|")));
    xfconf->emitSignal(xfconfPath, xfconfName, QStringLiteral("PropertyRemoved"),
                       {QStringLiteral("xfwm4"), QStringLiteral("/general/button_layout")});
    expect(*setting, rightSide());
}

TEST_F(WindowButtonSettingTest, OnXfceWithoutAChoiceStandWhereXfwmPutsThem) {
    const auto xfconf = xfconfWith([](const QDBusMessage& call) {
        return call.createErrorReply(QStringLiteral("org.xfce.Xfconf.Error.PropertyNotFound"), QString());
    });
    const auto setting = settingOf("XFCE");
    expect(*setting, rightSide());
}

TEST_F(WindowButtonSettingTest, OnKdeStandWhereKwinHasThem) {
    const auto setting = settingOf("KDE");
    EXPECT_EQ(setting->value(), rightSide()) << "KWin's own";
    configuration.write("kwinrc", "[org.kde.kdecoration2]\nButtonsOnLeft=XIA\nButtonsOnRight=\n");
    EXPECT_EQ(settingOf("KDE")->value(), kwinButtons(QStringLiteral("XIA"), QString()));

    FakeService kwin(bus.connect(), QStringLiteral("org.kde.KWin"));
    settle();
    kwin.emitSignal(QStringLiteral("/KWin"), QStringLiteral("org.kde.KWin"), QStringLiteral("reloadConfig"), {});
    expect(*setting, kwinButtons(QStringLiteral("XIA"), QString()));
}

TEST_F(WindowButtonSettingTest, OnKdeThePersonsFileComesBeforeTheSystems) {
    configuration.write("system/kwinrc", "[org.kde.kdecoration2]\nButtonsOnLeft=X\nButtonsOnRight=I\n");
    configuration.write("kwinrc", "[org.kde.kdecoration2]\nButtonsOnRight=A\n");
    EXPECT_EQ(settingOf("KDE")->value(), kwinButtons(QStringLiteral("X"), QStringLiteral("A")));
}

} // namespace driftwell::tests
