#include "desktop/freedesktop/ColorSchemeSetting.h"

#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <QApplication>
#include <QDBusVariant>
#include <QPalette>

#include <gtest/gtest.h>

#include <memory>

namespace driftwell::tests {

namespace {

const QString portalName = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settings = QStringLiteral("org.freedesktop.portal.Settings");
const QString readOne = QStringLiteral("ReadOne");
const QString group = QStringLiteral("org.freedesktop.appearance");
const QString key = QStringLiteral("color-scheme");

QVariant wrapped(const QVariant& value) {
    return QVariant::fromValue(QDBusVariant(value));
}

FakeService::Answer giving(const QVariant& value) {
    return [value](const QDBusMessage& call) {
        return call.createReply(value);
    };
}

QPalette paletteOf(Qt::GlobalColor window, Qt::GlobalColor text) {
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

/// What the platform theme does when the person changes it.
class ScopedPalette {
public:
    explicit ScopedPalette(const QPalette& palette) { QApplication::setPalette(palette); }
    ~ScopedPalette() { QApplication::setPalette(m_before); }
    ScopedPalette(const ScopedPalette&) = delete;
    ScopedPalette& operator=(const ScopedPalette&) = delete;

private:
    QPalette m_before = QApplication::palette();
};

const QPalette darkPalette = paletteOf(Qt::black, Qt::white);

} // namespace

class ColorSchemeSettingTest : public testing::Test {
protected:
    /// A portal that gives this value; the older kind of portals has another method and wraps it once more.
    std::unique_ptr<FakeService> portalWith(const QVariant& value) {
        auto portal = std::make_unique<FakeService>(bus.connect(), portalName);
        portal->on(settings, readOne, giving(wrapped(value)));
        return portal;
    }

    static void announce(FakeService& portal, const QVariant& value, const QString& changedGroup = group,
                         const QString& changedKey = key) {
        portal.emitSignal(portalPath, settings, QStringLiteral("SettingChanged"),
                          {changedGroup, changedKey, wrapped(value)});
    }

    /// The setting, once the desktop was heard.
    std::unique_ptr<ColorSchemeSetting> settledSetting() { return settledSettingOn(bus.connect()); }

    std::unique_ptr<ColorSchemeSetting> settledSettingOn(QDBusConnection connection) {
        auto setting = std::make_unique<ColorSchemeSetting>(std::move(connection), deadline);
        QObject::connect(setting.get(), &ColorSchemeSetting::changed, setting.get(), [this] { ++changes; });
        waitUntil([&setting] { return setting->isSettled(); });
        return setting;
    }

    TestFolder configuration;
    ScopedVariable configurationFolder{"XDG_CONFIG_HOME", QByteArray::fromStdString(configuration.path().string())};
    ScopedVariable gtkTheme{"GTK_THEME", std::nullopt};
    ScopedVariable override{"DRIFTWELL_COLOR_SCHEME", std::nullopt};
    ScopedPalette palette{paletteOf(Qt::white, Qt::black)};
    PrivateBus bus;
    int changes = 0;
};

TEST_F(ColorSchemeSettingTest, IsDarkWhereThePortalSaysSo) {
    const auto portal = portalWith(1U);
    const auto setting = settledSetting();
    EXPECT_EQ(setting->value(), ColorScheme::Dark);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(portal->lastCallOf(readOne).path(), portalPath);
    EXPECT_EQ(portal->lastCallOf(readOne).arguments(), (QVariantList{group, key}));
}

TEST_F(ColorSchemeSettingTest, IsLightWhereThePortalSaysSo) {
    const ScopedPalette dark(darkPalette);
    const auto portal = portalWith(2U);
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Light);
}

TEST_F(ColorSchemeSettingTest, SaysOnceThatTheDesktopWasHeard) {
    const auto portal = portalWith(1U);
    ColorSchemeSetting setting(bus.connect(), deadline);
    int settled = 0;
    QObject::connect(&setting, &ColorSchemeSetting::settled, &setting, [&] {
        ++settled;
        EXPECT_EQ(setting.value(), ColorScheme::Dark);
    });
    EXPECT_FALSE(setting.isSettled());
    waitUntil([&setting] { return setting.isSettled(); });
    announce(*portal, 2U);
    waitUntil([&setting] { return setting.value() == ColorScheme::Light; });
    EXPECT_EQ(settled, 1);
}

TEST_F(ColorSchemeSettingTest, IsReadFromAnOlderPortal) {
    FakeService portal(bus.connect(), portalName);
    portal.on(settings, QStringLiteral("Read"), giving(wrapped(wrapped(1U))));
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Dark);
}

TEST_F(ColorSchemeSettingTest, FollowsThePortal) {
    const auto portal = portalWith(2U);
    const auto setting = settledSetting();
    ASSERT_EQ(changes, 0);

    announce(*portal, 1U);
    waitUntil([this] { return changes == 1; });
    EXPECT_EQ(setting->value(), ColorScheme::Dark);

    announce(*portal, 2U);
    waitUntil([this] { return changes == 2; });
    EXPECT_EQ(setting->value(), ColorScheme::Light);
}

TEST_F(ColorSchemeSettingTest, IsNotChangedByOtherSettingsOrByWhatItIsAlready) {
    const auto portal = portalWith(2U);
    const auto setting = settledSetting();

    announce(*portal, 1U, QStringLiteral("org.gnome.desktop.interface"));
    announce(*portal, 1U, group, QStringLiteral("contrast"));
    announce(*portal, 2U);
    announce(*portal, 1U);
    waitUntil([&setting] { return setting->value() == ColorScheme::Dark; });

    EXPECT_EQ(changes, 1);
}

TEST_F(ColorSchemeSettingTest, IsTheThemesWithoutAPreferenceInThePortal) {
    const ScopedPalette dark(darkPalette);
    for (const QVariant& noPreference : {QVariant(0U), QVariant(3U), QVariant(QStringLiteral("dark")), QVariant(2),
                                         QVariant(QVariantMap{{key, 2U}}), QVariant(2.0)}) {
        const auto portal = portalWith(noPreference);
        EXPECT_EQ(settledSetting()->value(), ColorScheme::Dark) << noPreference.typeName();
    }
}

TEST_F(ColorSchemeSettingTest, IsTheThemesWhereThePortalAnswersNothing) {
    FakeService portal(bus.connect(), portalName);
    portal.on(settings, readOne, [](const QDBusMessage& call) { return call.createReply(); });
    const auto setting = settledSetting();
    EXPECT_EQ(setting->value(), ColorScheme::Light);
    EXPECT_EQ(changes, 0);
}

TEST_F(ColorSchemeSettingTest, IsTheThemesWhereThePortalHasNoSettings) {
    const FakeService portal(bus.connect(), portalName);
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Light);
    EXPECT_EQ(portal.callsOf(QStringLiteral("Read")), 1);
}

TEST_F(ColorSchemeSettingTest, IsTheThemesWithoutAPortal) {
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Light);
    const ScopedPalette dark(darkPalette);
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Dark);
}

TEST_F(ColorSchemeSettingTest, IsTheThemesWithoutABus) {
    EXPECT_EQ(settledSettingOn(PrivateBus::noBus())->value(), ColorScheme::Light);
}

TEST_F(ColorSchemeSettingTest, IsAGuessWhileThePortalSaysNothing) {
    FakeService portal(bus.connect(), portalName);
    portal.on(settings, readOne, [](const QDBusMessage&) { return QDBusMessage(); });
    const ColorSchemeSetting setting(bus.connect(), deadline);
    waitUntil([&portal] { return !portal.calls().empty(); });
    settle();
    EXPECT_FALSE(setting.isSettled());
    EXPECT_EQ(setting.value(), ColorScheme::Light);
}

TEST_F(ColorSchemeSettingTest, IsSettledAfterTheTimeout) {
    FakeService portal(bus.connect(), portalName);
    portal.on(settings, readOne, [](const QDBusMessage&) { return QDBusMessage(); });
    const ColorSchemeSetting setting(bus.connect(), std::chrono::milliseconds(10));
    waitUntil([&setting] { return setting.isSettled(); });
    EXPECT_EQ(setting.value(), ColorScheme::Light);
}

TEST_F(ColorSchemeSettingTest, FollowsTheThemeWithoutAPortal) {
    const auto setting = settledSetting();
    {
        const ScopedPalette dark(darkPalette);
        settle();
        EXPECT_EQ(setting->value(), ColorScheme::Dark);
        EXPECT_EQ(changes, 1);
    }
    settle();
    EXPECT_EQ(setting->value(), ColorScheme::Light);
    EXPECT_EQ(changes, 2);
}

TEST_F(ColorSchemeSettingTest, StaysThePortalsWhenTheThemeChanges) {
    const auto portal = portalWith(2U);
    const auto setting = settledSetting();
    const ScopedPalette dark(darkPalette);
    settle();
    EXPECT_EQ(setting->value(), ColorScheme::Light);
    EXPECT_EQ(changes, 0);
}

TEST_F(ColorSchemeSettingTest, IsReadWhenAPortalComes) {
    const auto setting = settledSetting();
    const auto portal = portalWith(1U);
    waitUntil([this] { return changes == 1; });
    EXPECT_EQ(setting->value(), ColorScheme::Dark);
}

TEST_F(ColorSchemeSettingTest, StaysWhenThePortalGoesAndIsReadAgainWhenItIsBack) {
    auto portal = portalWith(1U);
    const auto setting = settledSetting();
    portal.reset();
    settle();
    EXPECT_EQ(setting->value(), ColorScheme::Dark);
    portal = portalWith(2U);
    waitUntil([&setting] { return setting->value() == ColorScheme::Light; });
}

TEST_F(ColorSchemeSettingTest, IsWhatTheEnvironmentSays) {
    const auto portal = portalWith(2U);
    {
        const ScopedVariable dark("DRIFTWELL_COLOR_SCHEME", "dark");
        const auto setting = settledSetting();
        EXPECT_EQ(setting->value(), ColorScheme::Dark);
        announce(*portal, 2U);
        const ScopedPalette light(paletteOf(Qt::white, Qt::black));
        settle();
        EXPECT_EQ(setting->value(), ColorScheme::Dark);
    }
    const ScopedPalette dark(darkPalette);
    const ScopedVariable light("DRIFTWELL_COLOR_SCHEME", "light");
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Light);
    EXPECT_EQ(portal->calls().size(), 0U);
    EXPECT_EQ(changes, 0);
}

TEST_F(ColorSchemeSettingTest, IsNotDecidedByAnythingElseInTheEnvironment) {
    const auto portal = portalWith(1U);
    const ScopedVariable unknown("DRIFTWELL_COLOR_SCHEME", "sepia");
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Dark);
}

TEST_F(ColorSchemeSettingTest, IsDarkWithADarkGtkTheme) {
    for (const char* theme : {"Adwaita:dark", "Adwaita-dark", "Breeze-Dark"}) {
        const ScopedVariable chosen("GTK_THEME", theme);
        EXPECT_EQ(settledSetting()->value(), ColorScheme::Dark) << theme;
    }
    for (const char* settingsFile :
         {"[Settings]\ngtk-theme-name=Greybird-dark\n", "[Settings]\ngtk-application-prefer-dark-theme=1\n",
          "[Settings]\ngtk-application-prefer-dark-theme=true\ngtk-theme-name=Adwaita\n"}) {
        configuration.write("gtk-3.0/settings.ini", settingsFile);
        EXPECT_EQ(settledSetting()->value(), ColorScheme::Dark) << settingsFile;
    }
}

TEST_F(ColorSchemeSettingTest, IsLightWithALightGtkTheme) {
    for (const char* settingsFile : {"[Settings]\ngtk-theme-name=Greybird\n", "[Settings\nrubbish",
                                     "[Settings]\ngtk-application-prefer-dark-theme=0\n", ""}) {
        configuration.write("gtk-3.0/settings.ini", settingsFile);
        EXPECT_EQ(settledSetting()->value(), ColorScheme::Light) << settingsFile;
    }
    configuration.write("gtk-3.0/settings.ini", "[Settings]\ngtk-theme-name=Greybird-dark\n");
    const ScopedVariable chosen("GTK_THEME", "Adwaita");
    EXPECT_EQ(settledSetting()->value(), ColorScheme::Light) << "the variable comes before the file";
}

} // namespace driftwell::tests
