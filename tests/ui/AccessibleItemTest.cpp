#include "tests/ui/ViewFixture.h"

#include <gmock/gmock.h>

#include <utility>

namespace driftwell::tests {
namespace {

using testing::ElementsAre;

/// What a screen reader is told beyond what Qt Quick tells by itself.
class AccessibleItemTest : public ViewFixture {
protected:
    void TearDown() override {
        if (m_isListening) {
            QAccessible::installUpdateHandler(m_before);
        }
        ViewFixture::TearDown();
    }

    /// From now on it is noted what has become enabled or disabled.
    void listen() {
        changes().clear();
        m_before = QAccessible::installUpdateHandler([](QAccessibleEvent* event) {
            QAccessibleInterface* const interface = event->accessibleInterface();
            if (event->type() == QAccessible::StateChanged && interface != nullptr &&
                static_cast<QAccessibleStateChangeEvent*>(event)->changedStates().disabled) {
                changes().push_back(interface->text(QAccessible::Name).toStdString() +
                                    (interface->state().disabled ? " disabled" : " enabled"));
            }
        });
        m_isListening = true;
    }
    static std::vector<std::string>& changes() {
        static std::vector<std::string> seen;
        return seen;
    }

    static QAccessibleInterface* interfaceOf(const Seen& seen) {
        return QAccessible::queryAccessibleInterface(seen.item);
    }

private:
    bool m_isListening = false;
    QAccessible::UpdateHandler m_before = nullptr;
};

TEST_F(AccessibleItemTest, AButtonThatIsDisabledIsSo) {
    showQml(R"(PushButton { objectName: "button"; text: "Deploy"; enabled: false })");
    EXPECT_TRUE(the(Role::Button, QStringLiteral("Deploy")).state.disabled);
    view().rootObject()->findChild<QQuickItem*>(QStringLiteral("button"))->setEnabled(true);
    EXPECT_FALSE(the(Role::Button, QStringLiteral("Deploy")).state.disabled);
}

TEST_F(AccessibleItemTest, AChangeOfThatIsTold) {
    showQml(R"(PushButton { objectName: "button"; text: "Deploy" })");
    static_cast<void>(the(Role::Button, QStringLiteral("Deploy")));
    listen();
    auto* const button = view().rootObject()->findChild<QQuickItem*>(QStringLiteral("button"));
    button->setEnabled(false);
    button->setEnabled(true);
    EXPECT_THAT(changes(), ElementsAre("Deploy disabled", "Deploy enabled"));
}

TEST_F(AccessibleItemTest, AButtonIsPressedAndGivenTheKeyboardByAssistiveTechnology) {
    showQml(R"(
        property int count: 0
        PushButton { text: "Deploy"; onClicked: test.count++ })");
    QAccessibleInterface* const button = interfaceOf(the(Role::Button, QStringLiteral("Deploy")));
    QAccessibleActionInterface* const actions = button->actionInterface();
    ASSERT_NE(actions, nullptr);
    EXPECT_THAT(actions->actionNames(),
                ElementsAre(QAccessibleActionInterface::pressAction(), QAccessibleActionInterface::setFocusAction()));
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(view().rootObject()->property("count").toInt(), 1);
    actions->doAction(QAccessibleActionInterface::setFocusAction());
    EXPECT_EQ(focus(), "Button Deploy");
    EXPECT_TRUE(the(Role::Button, QStringLiteral("Deploy")).state.focused);
}

TEST_F(AccessibleItemTest, AButtonThatIsDisabledIsPressedByNobody) {
    showQml(R"(
        property int count: 0
        PushButton { text: "Deploy"; enabled: false; onClicked: test.count++ })");
    QAccessibleActionInterface* const actions =
        interfaceOf(the(Role::Button, QStringLiteral("Deploy")))->actionInterface();
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(view().rootObject()->property("count").toInt(), 0);
}

TEST_F(AccessibleItemTest, ASwitchTellsWhetherItIsOnAndWhetherItIsDisabled) {
    showQml(R"(DWToggleStyle { objectName: "switch"; text: "Launch at login" })");
    const auto state = [this] {
        return the(Role::CheckBox, QStringLiteral("Launch at login")).state;
    };
    EXPECT_TRUE(state().checkable);
    EXPECT_FALSE(state().checked);
    EXPECT_FALSE(state().disabled);
    listen();
    auto* const toggle = view().rootObject()->findChild<QQuickItem*>(QStringLiteral("switch"));
    toggle->setProperty("checked", true);
    EXPECT_TRUE(state().checked);
    toggle->setEnabled(false);
    EXPECT_TRUE(state().disabled);
    EXPECT_TRUE(state().checked) << "it shows what is so";
    EXPECT_THAT(changes(), ElementsAre("Launch at login disabled"));
}

TEST_F(AccessibleItemTest, ASwitchIsFlippedByAssistiveTechnologyAsByTheKeyboard) {
    showQml(R"(
        property int flips: 0
        DWToggleStyle { objectName: "switch"; text: "Launch at login"; onToggled: test.flips++ })");
    QAccessibleActionInterface* const actions =
        interfaceOf(the(Role::CheckBox, QStringLiteral("Launch at login")))->actionInterface();
    ASSERT_NE(actions, nullptr);
    EXPECT_THAT(actions->actionNames(),
                ElementsAre(QAccessibleActionInterface::toggleAction(), QAccessibleActionInterface::setFocusAction()));
    actions->doAction(QAccessibleActionInterface::toggleAction());
    auto* const toggle = view().rootObject()->findChild<QQuickItem*>(QStringLiteral("switch"));
    EXPECT_TRUE(toggle->property("checked").toBool());
    EXPECT_EQ(view().rootObject()->property("flips").toInt(), 1);
    toggle->setEnabled(false);
    actions->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_TRUE(toggle->property("checked").toBool());
    EXPECT_EQ(view().rootObject()->property("flips").toInt(), 1);
}

TEST_F(AccessibleItemTest, AButtonIsWhereItIsSeenAndKnowsWhatItStandsIn) {
    showQml(R"(
        Item {
            x: 30; y: 40; width: 200; height: 100
            Accessible.role: Accessible.Grouping
            Accessible.name: "Group"
            Row { PushButton { text: "Deploy" } }
        })");
    const Seen button = the(Role::Button, QStringLiteral("Deploy"));
    QAccessibleInterface* const interface = interfaceOf(button);
    EXPECT_EQ(interface->rect(), QRect(view().mapToGlobal(QPoint(30, 40)), button.item->size().toSize()));
    ASSERT_NE(interface->parent(), nullptr);
    EXPECT_EQ(interface->parent()->text(QAccessible::Name), QStringLiteral("Group"));
    EXPECT_EQ(interface->parent()->child(0), interface);
    EXPECT_EQ(interface->childCount(), 0) << "its words are its name";
}

TEST_F(AccessibleItemTest, ASheetIsModalAndItsContentIsInIt) {
    showQml(R"(
        Sheet {
            parent: test; visible: true; title: "Question"
            PushButton { text: "Yes" }
        })");
    const Seen sheet = the(Role::Dialog, QStringLiteral("Question"));
    EXPECT_TRUE(sheet.state.modal);
    QAccessibleInterface* const interface = interfaceOf(sheet);
    QAccessibleInterface* const yes = interfaceOf(the(Role::Button, QStringLiteral("Yes")));
    bool isFound = false;
    for (int i = 0; i < interface->childCount(); ++i) {
        EXPECT_EQ(interface->indexOfChild(interface->child(i)), i);
        isFound = isFound || interface->child(i) == yes;
    }
    EXPECT_TRUE(isFound);
    EXPECT_EQ(yes->parent(), interface);
    EXPECT_EQ(interface->childAt(yes->rect().center().x(), yes->rect().center().y()), yes);
}

TEST_F(AccessibleItemTest, AMenuIsNoDialogAndNotModal) {
    showQml(R"(ChoiceMenu { parent: test; visible: true; MenuEntry { text: "Copy Link" } })");
    for (const Seen& each : all(Role::PopupMenu)) {
        EXPECT_FALSE(each.state.modal);
    }
    EXPECT_FALSE(the(Role::MenuItem, QStringLiteral("Copy Link")).state.disabled);
}

TEST_F(AccessibleItemTest, ABarOfProgressTellsHowFarItIs) {
    showQml(QStringLiteral("ProgressBar { value: 0.4; Accessible.name: 'Deployment' }"));
    QAccessibleValueInterface* const value =
        interfaceOf(the(Role::ProgressBar, QStringLiteral("Deployment")))->valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_DOUBLE_EQ(value->currentValue().toDouble(), 0.4);
    EXPECT_DOUBLE_EQ(value->minimumValue().toDouble(), 0);
    EXPECT_DOUBLE_EQ(value->maximumValue().toDouble(), 1);
    value->setCurrentValue(1);
    EXPECT_DOUBLE_EQ(value->currentValue().toDouble(), 0.4) << "nobody sets it";
}

} // namespace
} // namespace driftwell::tests
