#include "tests/Await.h"
#include "tests/support/TestFolder.h"

#include <QColor>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QXmlStreamReader>

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace driftwell::tests {

using testing::Contains;
using testing::ElementsAre;

namespace {

QString textOf(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

/// The value of a key in a group of a desktop entry, or nothing.
QString value(const std::filesystem::path& entry, const QString& group, const QString& key) {
    QFile file(entry);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << entry;
    bool isInGroup = false;
    for (const QByteArray& bytes : file.readAll().split('\n')) {
        const QString line = QString::fromUtf8(bytes);
        if (line.startsWith(QLatin1Char('['))) {
            isInGroup = line == QStringLiteral("[%1]").arg(group);
        } else if (isInGroup && line.startsWith(key + QLatin1Char('='))) {
            return line.mid(key.size() + 1);
        }
    }
    return {};
}

QString mainValue(const std::filesystem::path& entry, const char* key) {
    return value(entry, QStringLiteral("Desktop Entry"), QString::fromLatin1(key));
}

QStringList listOf(const QString& value) {
    return value.split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

QImage draw(const std::filesystem::path& drawing, int size) {
    QImageReader reader(textOf(drawing), "svg");
    reader.setScaledSize({size, size});
    reader.setBackgroundColor(Qt::transparent);
    const QImage image = reader.read();
    EXPECT_FALSE(image.isNull()) << drawing << ": " << reader.errorString().toStdString();
    return image.convertToFormat(QImage::Format_ARGB32);
}

/// The smallest frame around all that is painted.
QRect paintedFrame(const QImage& image) {
    QRect frame;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) {
                frame |= QRect(x, y, 1, 1);
            }
        }
    }
    return frame;
}

bool isPaintedOnlyIn(const QImage& image, const QColor& color) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() > 0 && pixel.rgb() != color.rgb()) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

/// What a desktop is told of the application, as it is installed.
class DesktopFilesTest : public testing::Test {
protected:
    void SetUp() override {
        QProcess install;
        install.start(QStringLiteral(DRIFTWELL_CMAKE),
                      {QStringLiteral("--install"), QStringLiteral(DRIFTWELL_BUILD), QStringLiteral("--component"),
                       QStringLiteral("desktop"), QStringLiteral("--prefix"), textOf(prefix())});
        waitUntil([&install] { return install.state() == QProcess::NotRunning; });
        ASSERT_EQ(install.exitCode(), 0) << install.readAllStandardError().toStdString();
    }

    [[nodiscard]] std::filesystem::path prefix() const { return folder / "prefix"; }
    [[nodiscard]] std::filesystem::path entry() const { return prefix() / "share/applications/driftwell.desktop"; }
    [[nodiscard]] std::filesystem::path autostart() const {
        return prefix() / "Driftwell/Contents/share/driftwell-autostart.desktop";
    }

    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> found;
        for (const auto& each : std::filesystem::recursive_directory_iterator(prefix())) {
            if (!each.is_directory()) {
                found.push_back(each.path().lexically_relative(prefix()).string());
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    TestFolder folder;
};

TEST_F(DesktopFilesTest, AreInstalledWhereDesktopsLookForThem) {
    EXPECT_THAT(
        files(),
        ElementsAre("Driftwell/Contents/Helpers/link-command", "Driftwell/Contents/share/driftwell-autostart.desktop",
                    "share/Thunar/sendto/driftwell.desktop", "share/applications/driftwell.desktop",
                    "share/icons/hicolor/16x16/apps/driftwell.svg", "share/icons/hicolor/22x22/apps/driftwell.svg",
                    "share/icons/hicolor/24x24/apps/driftwell.svg", "share/icons/hicolor/scalable/apps/driftwell.svg",
                    "share/kio/servicemenus/driftwell.desktop", "share/metainfo/app.driftwell.Driftwell.metainfo.xml",
                    "share/nemo/actions/driftwell.nemo_action", "share/polkit-1/actions/app.driftwell.policy"));
}

TEST_F(DesktopFilesTest, HaveTheAutostartEntryInTheBuildsBundleToo) {
    EXPECT_TRUE(std::filesystem::exists(DRIFTWELL_BUILD "/Driftwell/Contents/share/driftwell-autostart.desktop"));
}

TEST_F(DesktopFilesTest, OfferAddressesToTheApplicationAndNoFolders) {
    EXPECT_EQ(mainValue(entry(), "Exec"), QStringLiteral("driftwell %u"));
    QFile information(QStringLiteral(DRIFTWELL_BUILD "/Driftwell/Contents/Info.json"));
    ASSERT_TRUE(information.open(QIODevice::ReadOnly));
    const QJsonObject type = QJsonDocument::fromJson(information.readAll())
                                 .object()
                                 .value(QStringLiteral("CFBundleURLTypes"))
                                 .toArray()
                                 .at(0)
                                 .toObject();
    // Whatever offers to open folders can become what opens them.
    QStringList expected;
    for (const auto& scheme : type.value(QStringLiteral("CFBundleURLSchemes")).toArray()) {
        expected.append(QStringLiteral("x-scheme-handler/") + scheme.toString());
    }
    QStringList offered = listOf(mainValue(entry(), "MimeType"));
    offered.sort();
    EXPECT_EQ(offered, expected);
}

TEST_F(DesktopFilesTest, OfferFoldersInTheMenusOfFileManagers) {
    const std::filesystem::path data = prefix() / "share";
    const QString command = QStringLiteral("driftwell %f");
    const std::filesystem::path thunar = data / "Thunar/sendto/driftwell.desktop";
    EXPECT_EQ(mainValue(thunar, "Exec"), command);
    EXPECT_EQ(mainValue(thunar, "MimeType"), QStringLiteral("inode/directory;"));
    const std::filesystem::path plasma = data / "kio/servicemenus/driftwell.desktop";
    EXPECT_EQ(value(plasma, QStringLiteral("Desktop Action publish"), QStringLiteral("Exec")), command);
    EXPECT_EQ(mainValue(plasma, "MimeType"), QStringLiteral("inode/directory;"));
    const std::filesystem::path nemo = data / "nemo/actions/driftwell.nemo_action";
    EXPECT_EQ(value(nemo, QStringLiteral("Nemo Action"), QStringLiteral("Exec")), QStringLiteral("driftwell %F"));
    EXPECT_EQ(value(nemo, QStringLiteral("Nemo Action"), QStringLiteral("Extensions")), QStringLiteral("dir;"));
}

TEST_F(DesktopFilesTest, OfferActions) {
    EXPECT_EQ(listOf(mainValue(entry(), "Actions")),
              (QStringList{QStringLiteral("new-project"), QStringLiteral("open")}));
    const QString newProject = QStringLiteral("Desktop Action new-project");
    EXPECT_EQ(value(entry(), newProject, QStringLiteral("Name")), QStringLiteral("New project"));
    EXPECT_EQ(value(entry(), newProject, QStringLiteral("Exec")), QStringLiteral("driftwell --new-project"));
    const QString open = QStringLiteral("Desktop Action open");
    EXPECT_EQ(value(entry(), open, QStringLiteral("Name")), QStringLiteral("Open"));
    EXPECT_EQ(value(entry(), open, QStringLiteral("Exec")), QStringLiteral("driftwell"));
}

TEST_F(DesktopFilesTest, StartHiddenInTheTrayAtLogin) {
    EXPECT_EQ(mainValue(autostart(), "Exec"), QStringLiteral("driftwell --tray"));
    EXPECT_EQ(mainValue(autostart(), "Name"), mainValue(entry(), "Name"));
    EXPECT_EQ(mainValue(autostart(), "Icon"), mainValue(entry(), "Icon"));
}

TEST_F(DesktopFilesTest, NameAnIconThatIsInstalled) {
    const std::string icon = mainValue(entry(), "Icon").toStdString();
    EXPECT_THAT(files(), Contains("share/icons/hicolor/scalable/apps/" + icon + ".svg"));
}

TEST_F(DesktopFilesTest, DescribeTheInstalledApplicationOfThisVersion) {
    QFile file(prefix() / "share/metainfo/app.driftwell.Driftwell.metainfo.xml");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    std::map<QString, QString> texts;
    QString version;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == QLatin1StringView("release") && version.isEmpty()) {
            version = xml.attributes().value(QLatin1StringView("version")).toString();
        } else if (xml.name() == QLatin1StringView("id") || xml.name() == QLatin1StringView("launchable") ||
                   xml.name() == QLatin1StringView("summary")) {
            const QString element = xml.name().toString();
            texts[element] = xml.readElementText();
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_EQ(texts[QStringLiteral("id")], QStringLiteral("app.driftwell.Driftwell"));
    EXPECT_EQ(texts[QStringLiteral("launchable")], QStringLiteral("driftwell.desktop"));
    EXPECT_EQ(texts[QStringLiteral("summary")], mainValue(entry(), "Comment"));
    EXPECT_EQ(version, QStringLiteral(DRIFTWELL_VERSION)) << "the newest release is this one";
}

class DrawingTest : public testing::TestWithParam<const char*> {
protected:
    [[nodiscard]] static std::filesystem::path file() { return std::filesystem::path(DRIFTWELL_ICONS) / GetParam(); }
};

TEST_P(DrawingTest, FillsItsFrameAtEverySize) {
    for (const int size : {16, 18, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const QImage image = draw(file(), size);
        EXPECT_EQ(image.size(), QSize(size, size));
        EXPECT_GE(paintedFrame(image).width(), size * 9 / 10) << size;
        for (const QPoint& corner :
             {QPoint(0, 0), QPoint(size - 1, 0), QPoint(0, size - 1), QPoint(size - 1, size - 1)}) {
            EXPECT_EQ(qAlpha(image.pixel(corner)), 0) << size;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Drawings, DrawingTest,
                         testing::Values("driftwell.svg", "Logo.svg", "LogoGlyph.svg", "LogoGlyphSolid.svg"));

class GlyphTest : public DrawingTest {};

TEST_P(GlyphTest, HasOneColourForThePanelToReplace) {
    EXPECT_TRUE(isPaintedOnlyIn(draw(file(), 220), Qt::black));
}

INSTANTIATE_TEST_SUITE_P(Drawings, GlyphTest, testing::Values("LogoGlyph.svg", "LogoGlyphSolid.svg"));

TEST(Drawing, HasTheSizeThatItIsShownAt) {
    const std::filesystem::path icons = DRIFTWELL_ICONS;
    EXPECT_EQ(QImageReader(textOf(icons / "Logo.svg")).size(), QSize(24, 24));
    EXPECT_EQ(QImageReader(textOf(icons / "LogoGlyph.svg")).size(), QSize(22, 22));
    EXPECT_EQ(QImageReader(textOf(icons / "LogoGlyphSolid.svg")).size(), QSize(18, 18));
}

} // namespace driftwell::tests
