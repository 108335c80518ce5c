#include "core/Collaboration.h"
#include "core/SiteOperations.h"
#include "tests/ui/ManualSleeps.h"
#include "tests/ui/WindowFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const std::string longName = "international-conference-on-sustainable-architecture-2026-draft";

/// The sheet in which a site is shared, opened from its row.
class ShareSheetTest : public WindowFixture {
protected:
    static Json accessRecord(const std::string& mode, const std::vector<std::string>& emails,
                             const std::optional<std::string>& owner = {}) {
        Json record{{"mode", mode}, {"emails", emails}};
        if (owner) {
            record["owner"] = *owner;
        }
        return record;
    }

    /// A window with the sheet of the one site, whose record has what is given besides.
    void open(const Json& more = Json::object(), QSize size = {1000, 800}, const std::string& name = "garden") {
        Json garden = siteRecord(name);
        garden.update(more);
        m_name = QString::fromStdString(name);
        connectedWithRecords({garden});
        sleepInWindowWith(sleeps.sleeper());
        showWindow(size);
        hover(the(Role::ListItem, m_name).item);
        click(QStringLiteral("Share ") + m_name);
        waitUntil([this] { return isOpen(); });
    }

    [[nodiscard]] bool isOpen() { return isSeen(Role::Dialog, QStringLiteral("Share “") + m_name + u'”'); }
    [[nodiscard]] QQuickItem* dialog() { return the(Role::Dialog, QStringLiteral("Share “") + m_name + u'”').item; }

    void answerAccess(const Json& access) {
        Json answer = access;
        answer["site"] = "garden";
        server.answer("/api/sites/garden/access", 200, answer.dump());
    }
    [[nodiscard]] std::vector<Json> sentAccess() const {
        std::vector<Json> bodies;
        for (const PlatformServer::Request& request : server.requests("/api/sites/garden/access")) {
            bodies.push_back(Json::parse(request.body));
        }
        return bodies;
    }
    void waitForAccess(std::size_t count) {
        waitUntil([this, count] {
            return sentAccess().size() == count && model().siteOperations().accessInFlight().isEmpty();
        });
    }

    std::vector<std::string> people() {
        std::vector<std::string> names;
        for (const Seen& each : all(Role::ListItem)) {
            if (each.name != m_name) {
                names.push_back(each.name.toStdString());
            }
        }
        return names;
    }
    std::vector<std::string> menu() {
        std::vector<std::string> entries;
        for (const Seen& each : all(Role::MenuItem)) {
            entries.push_back(each.name.toStdString() +
                              (each.description == QLatin1String("Chosen") ? ", chosen" : ""));
        }
        return entries;
    }

    /// Presses Tab until the keyboard is there.
    void goTo(const std::string& place) {
        constexpr int more = 30;
        for (int i = 0; i < more && focus() != place; ++i) {
            press(Qt::Key_Tab);
        }
        ASSERT_EQ(focus(), place);
    }

    [[nodiscard]] QRectF place(QQuickItem* item) { return item->mapRectToScene({0, 0, item->width(), item->height()}); }

    /// Every text of the sheet is whole, or says the whole of itself to the pointer that rests on it.
    void expectWholeTexts() {
        for (QQuickItem* const item : items()) {
            if (item->inherits("QQuickText") && item->property("wrapMode").toInt() != 0) {
                EXPECT_FALSE(item->property("truncated").toBool()) << item->property("text").toString().toStdString();
            }
        }
    }

    ManualSleeps sleeps;

private:
    QString m_name;
};

// What it says

TEST_F(ShareSheetTest, ItIsASheetOfItsOwnWidthWithEverySection) {
    open({{"access", accessRecord("team", {"tom@x"}, "ada@sites.test")}});
    EXPECT_EQ(dialog()->width(), 620);
    for (const char* heading : {"Share “garden”", "People with access", "General access", "Working together"}) {
        EXPECT_TRUE(isSeen(Role::Heading, QString::fromUtf8(heading))) << heading;
    }
    EXPECT_EQ(
        the(Role::EditableText, QStringLiteral("Add people by email…")).item->property("placeholderText").toString(),
        QStringLiteral("Add people by email…"));
    EXPECT_THAT(people(), ElementsAre("ada@sites.test (you), Owner", "tom@x, Viewer"));
    EXPECT_THAT(texts(), Contains("Invited people matter once general access is “Invited people only”."));
    EXPECT_THAT(texts(), Contains("Anyone signed in with a team account can open it."));
    for (const char* setting : {"Charts", "Client comments", "Allow collaboration"}) {
        EXPECT_TRUE(isSeen(Role::CheckBox, QString::fromLatin1(setting))) << setting;
    }
    EXPECT_TRUE(isDrawn(QStringLiteral("Let everyone with access leave comments, not just the team")));
    EXPECT_TRUE(isDrawn(QStringLiteral("Let team members open this project and publish changes")));
    EXPECT_EQ(the(Role::CheckBox, QStringLiteral("Client comments")).description,
              QStringLiteral("Let everyone with access leave comments, not just the team"));
    EXPECT_TRUE(enabled("Copy link"));
    EXPECT_TRUE(enabled("Done"));
}

TEST_F(ShareSheetTest, WithoutAnAccessRecordItOffersEverything) {
    open();
    EXPECT_THAT(people(), IsEmpty());
    EXPECT_THAT(texts(), Contains("Only invited people appear here."));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("General access, Team")));
    EXPECT_FALSE(isSeen(Role::List, QStringLiteral("People with access")));
}

TEST_F(ShareSheetTest, WhoDoesNotOwnTheSiteSeesTheSameControls) {
    open({{"access", accessRecord("restricted", {"tom@x", "ada@sites.test"}, "grace@x")}});
    EXPECT_THAT(people(), ElementsAre("grace@x, Owner", "tom@x, Viewer", "ada@sites.test (you), Viewer"));
    EXPECT_TRUE(enabled("Viewer, tom@x"));
    EXPECT_TRUE(enabled("General access, Invited people only"));
    for (const Seen& toggle : all(Role::CheckBox)) {
        EXPECT_TRUE(toggle.isEnabled()) << toggle.name.toStdString();
    }
}

// The keyboard

TEST_F(ShareSheetTest, ItOpensInTheFieldForAnAddressAndTabGoesThroughIt) {
    open({{"access", accessRecord("restricted", {"tom@x"}, "grace@x")}});
    EXPECT_EQ(focus(), "EditableText Add people by email…");
    EXPECT_THAT(tabs(9),
                ElementsAre("ListItem grace@x, Owner", "Button General access, Invited people only", "CheckBox Charts",
                            "CheckBox Client comments", "CheckBox Allow collaboration", "Button Copy link",
                            "Button Done", "Button Close sheet", "EditableText Add people by email…"));
}

TEST_F(ShareSheetTest, EscapeDoneAndTheCrossCloseIt) {
    open();
    press(Qt::Key_Escape);
    waitUntil([this] { return !isOpen(); });
    for (const char* button : {"Done", "Close sheet"}) {
        hover(the(Role::ListItem, QStringLiteral("garden")).item);
        click(QStringLiteral("Share garden"));
        waitUntil([this] { return isOpen(); });
        click(QString::fromLatin1(button));
        waitUntil([this] { return !isOpen(); });
    }
    EXPECT_EQ(window().siteSheets()->share(), nullptr);
}

TEST_F(ShareSheetTest, OpenedByKeyboardItGivesTheKeyboardBackToTheRow) {
    connectedWithRecords({siteRecord("garden")});
    showWindow();
    press(Qt::Key_F, Qt::ControlModifier);
    goTo("Button Share garden");
    press(Qt::Key_Return);
    waitUntil([this] { return focus() == "EditableText Add people by email…"; });
    press(Qt::Key_Escape);
    waitUntil([this] { return focus() == "ListItem garden"; });
}

// People

TEST_F(ShareSheetTest, ReturnInvitesWhoseAddressWasTyped) {
    open({{"access", accessRecord("restricted", {}, "ada@sites.test")}});
    answerAccess(accessRecord("restricted", {"tom@x"}, "ada@sites.test"));
    press(Qt::Key_Return);
    type(QStringLiteral("tom"));
    press(Qt::Key_Return);
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Add tom")));
    EXPECT_THAT(sentAccess(), IsEmpty());
    type(QStringLiteral("@X "));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Add tom@X")));
    press(Qt::Key_Return);
    EXPECT_EQ(the(Role::EditableText, QStringLiteral("Add people by email…")).item->property("text").toString(),
              QString());
    waitForAccess(1);
    EXPECT_THAT(people(), ElementsAre("ada@sites.test (you), Owner", "tom@x, Viewer"));
    EXPECT_EQ(focus(), "EditableText Add people by email…") << "the next one can be typed";
}

TEST_F(ShareSheetTest, TheButtonInvitesToo) {
    open();
    answerAccess(accessRecord("team", {"tom@x"}));
    type(QStringLiteral("tom@x"));
    click(QStringLiteral("Add tom@x"));
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"emails", {"tom@x"}}}));
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Add tom@x")));
    EXPECT_EQ(focus(), "EditableText Add people by email…");
}

TEST_F(ShareSheetTest, AViewerIsRemovedByTheMenuOfTheRole) {
    open({{"access", accessRecord("restricted", {"tom@x", "eve@x"}, "ada@sites.test")}});
    answerAccess(accessRecord("restricted", {"eve@x"}, "ada@sites.test"));
    click(QStringLiteral("Viewer, tom@x"));
    EXPECT_THAT(menu(), ElementsAre("Remove access"));
    click(Role::MenuItem, QStringLiteral("Remove access"));
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"emails", {"eve@x"}}}));
    EXPECT_THAT(people(), ElementsAre("ada@sites.test (you), Owner", "eve@x, Viewer"));
}

TEST_F(ShareSheetTest, AViewerIsRemovedByKeyboardAlone) {
    open({{"access", accessRecord("restricted", {"tom@x", "eve@x"}, "ada@sites.test")}});
    answerAccess(accessRecord("restricted", {"tom@x"}, "ada@sites.test"));
    goTo("ListItem ada@sites.test (you), Owner");
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(focus(), "ListItem eve@x, Viewer");
    press(Qt::Key_Return);
    EXPECT_THAT(menu(), ElementsAre("Remove access"));
    press(Qt::Key_Escape);
    EXPECT_THAT(menu(), IsEmpty()) << "Escape closes the menu,";
    EXPECT_TRUE(isOpen()) << "and not the sheet";
    EXPECT_EQ(focus(), "ListItem eve@x, Viewer");
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    EXPECT_EQ(focus(), "MenuItem Remove access");
    press(Qt::Key_Return);
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"emails", {"tom@x"}}}));
    EXPECT_THAT(people(), ElementsAre("ada@sites.test (you), Owner", "tom@x, Viewer"));
    EXPECT_THAT(focus(), testing::StartsWith("ListItem ")) << "the keyboard stays in the list";
}

TEST_F(ShareSheetTest, WhileAChangeIsUnderWayNoOtherIsOffered) {
    open({{"access", accessRecord("restricted", {"tom@x"}, "ada@sites.test")}});
    answerAccess(accessRecord("team", {"tom@x"}, "ada@sites.test"));
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden/access");
    type(QStringLiteral("eve@x"));
    window().siteSheets()->share()->chooseMode(0);
    waitUntil([&hold] { return hold.arrived(); });
    EXPECT_FALSE(enabled("Add eve@x"));
    press(Qt::Key_Return);
    click(QStringLiteral("Viewer, tom@x"));
    EXPECT_FALSE(the(Role::MenuItem, QStringLiteral("Remove access")).isEnabled());
    press(Qt::Key_Escape);
    EXPECT_FALSE(the(Role::CheckBox, QStringLiteral("Client comments")).isEnabled());
    EXPECT_TRUE(the(Role::CheckBox, QStringLiteral("Charts")).isEnabled());
    hold.release();
    waitForAccess(1);
    EXPECT_TRUE(enabled("Add eve@x")) << "what was typed is still there";
}

// General access

TEST_F(ShareSheetTest, TheMenuOfTheModesMarksThePresentOne) {
    open({{"access", accessRecord("restricted", {})}});
    click(QStringLiteral("General access, Invited people only"));
    EXPECT_THAT(menu(), ElementsAre("Team", "Invited people only, chosen", "Anyone with the link"));
}

TEST_F(ShareSheetTest, AModeIsChosenByKeyboardAlone) {
    open({{"access", accessRecord("team", {})}});
    answerAccess(accessRecord("public", {}));
    goTo("Button General access, Team");
    press(Qt::Key_Return);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(focus(), "MenuItem Anyone with the link");
    press(Qt::Key_Return);
    waitForAccess(1);
    EXPECT_EQ(sentAccess().front(), Json({{"mode", "public"}}));
    EXPECT_EQ(focus(), "Button General access, Anyone with the link");
    EXPECT_THAT(texts(), Contains("Anyone with the link — no sign-in."));
}

TEST_F(ShareSheetTest, AFailedChangeIsToldInTheSheet) {
    open();
    server.answer("/api/sites/garden/access", 403, errorAnswer("only the owner may", "forbidden"));
    window().siteSheets()->share()->chooseMode(1);
    waitForAccess(1);
    EXPECT_TRUE(isSeen(Role::AlertMessage, QStringLiteral("only the owner may")));
    EXPECT_EQ(colorOf(QStringLiteral("only the owner may")), light(Token::Warning));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE002))));
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("General access, Team")));
}

// Working together

TEST_F(ShareSheetTest, ASettingIsSwitchedByKeyboardAndShowsWhatThePlatformHas) {
    open({{"access", accessRecord("team", {})}});
    Json answer = accessRecord("team", {});
    answer["anyoneCanComment"] = true;
    answerAccess(answer);
    PlatformServer::Hold hold = server.holdAnswer("/api/sites/garden/access");
    goTo("CheckBox Client comments");
    press(Qt::Key_Return);
    waitUntil([&hold] { return hold.arrived(); });
    const Seen busy = the(Role::CheckBox, QStringLiteral("Client comments"));
    EXPECT_FALSE(busy.isEnabled());
    EXPECT_DOUBLE_EQ(busy.item->opacity(), 0.6);
    EXPECT_FALSE(busy.state.checked) << "it does not run ahead of the platform";
    EXPECT_TRUE(busy.state.disabled);
    hold.release();
    waitForAccess(1);
    const Seen settled = the(Role::CheckBox, QStringLiteral("Client comments"));
    EXPECT_TRUE(settled.isEnabled());
    EXPECT_FALSE(settled.state.disabled);
    EXPECT_DOUBLE_EQ(settled.item->opacity(), 1);
    EXPECT_TRUE(settled.state.checked);
    EXPECT_EQ(focus(), "CheckBox Client comments") << "the keyboard is where it was";
}

TEST_F(ShareSheetTest, ASettingThatThePlatformRefusesFallsBack) {
    open();
    server.answer("/api/sites/garden/libs", 500, errorAnswer("the library is broken", "failed"));
    click(Role::CheckBox, QStringLiteral("Charts"));
    waitUntil([this] { return isSeen(Role::AlertMessage, QStringLiteral("the library is broken")); });
    EXPECT_FALSE(the(Role::CheckBox, QStringLiteral("Charts")).state.checked);
}

TEST_F(ShareSheetTest, AllowingCollaborationOffersTheKnownFolderToBeLinked) {
    std::filesystem::create_directories(folder() / "home/Sites/garden");
    rememberFolder("garden", folder() / "home/Sites/garden");
    open();
    server.answer("/api/collab/garden/enable", 200, R"({"ok":true,"site":"garden","enabled":true})");
    Json enabled = siteRecord("garden");
    enabled["collab"] = {{"enabled", true}};
    server.answer("/api/sites", 200, Json{{"sites", {enabled}}}.dump());
    EXPECT_FALSE(isSeen(Role::Button, QStringLiteral("Link ~/Sites/garden")));
    click(Role::CheckBox, QStringLiteral("Allow collaboration"));
    waitUntil([this] { return model().collaboration().collabBusy().isEmpty(); });
    EXPECT_TRUE(the(Role::CheckBox, QStringLiteral("Allow collaboration")).state.checked);
    const Seen offer = the(Role::Button, QStringLiteral("Link ~/Sites/garden"));
    EXPECT_TRUE(offer.isEnabled());
    EXPECT_EQ(offer.description,
              QStringLiteral("Deploys from this folder will merge with teammates’ changes instead of replacing them"));
    EXPECT_THAT(texts(), Contains("Link ~/Sites/garden"));
}

TEST_F(ShareSheetTest, ALinkThatFailsIsToldOverTheSheet) {
    rememberFolder("garden", siteFolder("garden"));
    open({{"collab", {{"enabled", true}}}});
    click(QStringLiteral("Link ") + QString::fromStdString(siteFolder("garden")));
    waitUntil([this] { return isSeen(Role::AlertMessage, QStringLiteral("Collaboration hiccup")); });
    EXPECT_EQ(focus(), "Button OK");
    press(Qt::Key_Return);
    waitUntil([this] { return !isSeen(Role::AlertMessage, QStringLiteral("Collaboration hiccup")); });
    EXPECT_TRUE(isOpen());
    EXPECT_EQ(model().collaboration().collabError(), std::nullopt);
}

// The link

TEST_F(ShareSheetTest, TheLinkIsCopiedAndTheButtonSaysSoForAMoment) {
    open();
    click(QStringLiteral("Copy link"));
    EXPECT_EQ(desktop.clipboard(), "https://garden.sites.test");
    EXPECT_TRUE(isSeen(Role::Button, QStringLiteral("Copied")));
    EXPECT_TRUE(isDrawn(QString(QChar(0xE5CA))));
    sleeps.wake(1500ms);
    waitUntil([this] { return isSeen(Role::Button, QStringLiteral("Copy link")); });
}

// Little room

TEST_F(ShareSheetTest, InTheSmallestWindowTheHeadAndTheFootStayAndTheRestIsScrolledToWhatHasTheKeyboard) {
    std::vector<std::string> many;
    for (int i = 100; i < 160; ++i) {
        many.push_back("person-" + std::to_string(i) + "@a-rather-long-domain-of-a-company.example");
    }
    rememberFolder(longName.c_str(), siteFolder(longName));
    open({{"access", accessRecord("restricted", many, "ada@sites.test")}, {"collab", {{"enabled", true}}}}, {780, 520},
         longName);
    const QRectF window(0, 0, 780, 520);
    EXPECT_TRUE(window.contains(place(dialog())));
    for (const char* button : {"Copy link", "Done", "Close sheet"}) {
        EXPECT_TRUE(window.contains(place(the(Role::Button, QString::fromLatin1(button)).item))) << button;
    }
    expectWholeTexts();
    const std::vector<std::string> stops = {"ListItem ada@sites.test (you), Owner",
                                            "Button General access, Invited people only",
                                            "CheckBox Charts",
                                            "CheckBox Client comments",
                                            "CheckBox Allow collaboration",
                                            "Button Link " + siteFolder(longName).string(),
                                            "Button Copy link"};
    for (const std::string& stop : stops) {
        press(Qt::Key_Tab);
        EXPECT_EQ(focus(), stop);
        waitUntil([&] { return window.contains(place(view().activeFocusItem())); });
    }
    EXPECT_LT(all(Role::ListItem).size(), 40U) << "only the people on screen exist";
}

TEST_F(ShareSheetTest, ARowOfManyPeopleIsReachedWithTheArrows) {
    std::vector<std::string> many;
    for (int i = 100; i < 130; ++i) {
        many.push_back("person-" + std::to_string(i) + "@x");
    }
    open({{"access", accessRecord("restricted", many)}}, {780, 520});
    goTo("ListItem person-100@x, Viewer");
    for (int i = 0; i < 29; ++i) {
        press(Qt::Key_Down);
    }
    EXPECT_EQ(focus(), "ListItem person-129@x, Viewer");
    press(Qt::Key_Tab);
    EXPECT_EQ(focus(), "Button General access, Invited people only");
}

TEST_F(ShareSheetTest, ItFollowsTheColorScheme) {
    rememberFolder("garden", siteFolder("garden"));
    open({{"access", accessRecord("public", {"tom@x"}, "ada@sites.test")}, {"collab", {{"enabled", true}}}});
    server.answer("/api/sites/garden/access", 403, errorAnswer("only the owner may", "forbidden"));
    type(QStringLiteral("eve@x"));
    press(Qt::Key_Return);
    waitForAccess(1);
    type(QStringLiteral("eve@x"));
    expectPaletteIsFollowed();
}

TEST_F(ShareSheetTest, WithAnotherPlatformTheSheetGoes) {
    open();
    setHost(QStringLiteral("https://elsewhere.test"));
    waitUntil([this] { return !isOpen(); });
}

} // namespace
} // namespace driftwell::tests
