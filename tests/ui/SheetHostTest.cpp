#include "tests/ui/ViewFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Two kinds of sheets over a button, of which the first is two pages high when it is asked to be.
class SheetHostTest : public ViewFixture {
protected:
    void showHost(QObject* first = nullptr) {
        showQml(QStringLiteral(R"(
            property QtObject firstTarget: first
            property QtObject secondTarget: null
            property int firstEscapes: 0
            property int secondEscapes: 0
            property real bodyHeight: 40
            property alias open: host.open
            PushButton { text: "Behind"; focus: true }
            SheetHost {
                id: host
                anchors.fill: parent
                SheetEntry {
                    target: test.firstTarget
                    Sheet {
                        required property QtObject model
                        title: "First " + model.objectName
                        onEscaped: test.firstEscapes++
                        PushButton { objectName: "button"; text: "One"; focus: true }
                        Item { width: 1; height: test.bodyHeight }
                    }
                }
                SheetEntry {
                    target: test.secondTarget
                    Sheet {
                        required property QtObject model
                        title: "Second"
                        preferredWidth: 900
                        onEscaped: test.secondEscapes++
                        PushButton { text: "Two"; focus: true }
                    }
                }
            }
        )"),
                {{QStringLiteral("first"), QVariant::fromValue(first)}});
    }

    /// The targets outlive the view.
    void ask(const char* target, QObject* model) {
        view().rootObject()->setProperty(target, QVariant::fromValue(model));
        settleView();
    }
    [[nodiscard]] int count(const char* property) { return view().rootObject()->property(property).toInt(); }
    [[nodiscard]] bool isOpen() { return view().rootObject()->property("open").toBool(); }

    std::vector<std::string> sheets() {
        std::vector<std::string> names;
        for (const Seen& each : all(Role::Dialog)) {
            names.push_back(each.name.toStdString());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    static void name(QObject& model, const char* text) { model.setObjectName(QString::fromLatin1(text)); }
};

TEST_F(SheetHostTest, WithoutATargetThereIsNoSheet) {
    showHost();
    EXPECT_THAT(sheets(), IsEmpty());
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(focus(), "Button Behind");
}

TEST_F(SheetHostTest, ATargetHasItsSheetForAsLongAsItIsThere) {
    showHost();
    QObject model;
    name(model, "garden");
    ask("firstTarget", &model);
    EXPECT_THAT(sheets(), ElementsAre("First garden"));
    EXPECT_TRUE(isOpen());
    EXPECT_EQ(focus(), "Button One");
    ask("firstTarget", nullptr);
    EXPECT_THAT(sheets(), IsEmpty());
    EXPECT_FALSE(isOpen());
    waitUntil([this] { return focus() == "Button Behind"; });
    hideView();
}

TEST_F(SheetHostTest, AnotherTargetHasAnotherSheet) {
    showHost();
    QObject garden;
    name(garden, "garden");
    QObject bakery;
    name(bakery, "bakery");
    ask("firstTarget", &garden);
    QPointer<QQuickItem> old = the(Role::Button, QStringLiteral("One")).item;
    ask("firstTarget", &bakery);
    EXPECT_THAT(sheets(), ElementsAre("First bakery"));
    EXPECT_EQ(focus(), "Button One");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(old.isNull());
    ask("firstTarget", nullptr);
    hideView();
}

TEST_F(SheetHostTest, TheNewestTargetHasTheKeyboardAndEscape) {
    showHost();
    QObject first;
    QObject second;
    ask("secondTarget", &second);
    ask("firstTarget", &first);
    EXPECT_EQ(focus(), "Button One");
    press(Qt::Key_Escape);
    EXPECT_EQ(count("firstEscapes"), 1);
    EXPECT_EQ(count("secondEscapes"), 0);
    ask("firstTarget", nullptr);
    waitUntil([this] { return focus() == "Button Two"; });
    press(Qt::Key_Escape);
    EXPECT_EQ(count("firstEscapes"), 1);
    EXPECT_EQ(count("secondEscapes"), 1);
    hideView();
}

TEST_F(SheetHostTest, WhichEntryIsWrittenFirstDoesNotCount) {
    showHost();
    QObject first;
    QObject second;
    ask("firstTarget", &first);
    ask("secondTarget", &second);
    EXPECT_EQ(focus(), "Button Two");
    hideView();
}

TEST_F(SheetHostTest, ATargetThatWasThereBeforeTheWindowHasItsSheet) {
    QObject model;
    name(model, "garden");
    showHost(&model);
    EXPECT_THAT(sheets(), ElementsAre("First garden"));
    EXPECT_EQ(focus(), "Button One");
    hideView();
}

TEST_F(SheetHostTest, ASheetIsNeverLargerThanTheWindow) {
    showHost();
    QObject first;
    QObject second;
    ask("firstTarget", &first);
    ask("secondTarget", &second);
    EXPECT_EQ(the(Role::Dialog, QStringLiteral("Second")).item->width(), 400 - 2 * 20);
    ask("secondTarget", nullptr);
    view().rootObject()->setProperty("bodyHeight", 600);
    settleView();
    QQuickItem* const sheet = all(Role::Dialog).front().item;
    EXPECT_EQ(sheet->height(), 300 - 2 * 20);
    EXPECT_EQ(sheet->mapToScene({}).y(), 20);
    hideView();
}

} // namespace
} // namespace driftwell::tests
