#include "desktop/freedesktop/PackageOffer.h"

#include "tests/Await.h"
#include "tests/desktop/FakeService.h"
#include "tests/desktop/PrivateBus.h"
#include "tests/ScopedVariable.h"

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

class PackageOfferTest : public testing::Test {
protected:
    PackageOfferTest() {
        m_folder.write("pkexec", "#!/bin/sh\necho \"$@\" >> \"$TEST_FOLDER/asked\"\n"
                                 "while [ ! -e \"$TEST_FOLDER/answered\" ]; do sleep 0.1; done\n"
                                 "echo >> \"$TEST_FOLDER/done\"\n");
        std::filesystem::permissions(m_folder / "pkexec", std::filesystem::perms::owner_all);
    }

    [[nodiscard]] PackageOffer::Programs programs() const { return {m_folder / "pkexec", "/usr/bin/apt-get"}; }

    TestFolder m_folder;
    ScopedVariable m_variable{"TEST_FOLDER", QByteArray(m_folder.path().c_str())};
    PrivateBus bus;
};

TEST_F(PackageOfferTest, TheDesktopShowsItsOwnDialog) {
    FakeService desktop(bus.connect(), "org.freedesktop.PackageKit");
    desktop.on("org.freedesktop.PackageKit.Modify2", "InstallPackageNames",
               [](const QDBusMessage& call) { return call.createReply(); });
    PackageOffer offer(bus.connect(), programs());
    offer.make("git");
    waitUntil([&] { return desktop.callsOf("InstallPackageNames") == 1; });
    settle();
    EXPECT_EQ(desktop.lastCallOf("InstallPackageNames").arguments().value(0).toStringList(), QStringList{"git"});
    EXPECT_FALSE(std::filesystem::exists(m_folder / "asked"));
}

TEST_F(PackageOfferTest, APersonWhoDeclinesIsNotAskedForAPassword) {
    FakeService desktop(bus.connect(), "org.freedesktop.PackageKit");
    desktop.on("org.freedesktop.PackageKit.Modify2", "InstallPackageNames", [](const QDBusMessage& call) {
        return call.createErrorReply("org.freedesktop.PackageKit.Modify.Cancelled", "cancelled");
    });
    PackageOffer offer(bus.connect(), programs());
    offer.make("git");
    waitUntil([&] { return desktop.callsOf("InstallPackageNames") == 1; });
    settle();
    EXPECT_FALSE(std::filesystem::exists(m_folder / "asked"));
}

TEST_F(PackageOfferTest, WhereNobodyOffersItTheAdministratorIsAskedOnceAtATime) {
    PackageOffer offer(bus.connect(), programs());
    offer.make("git");
    waitUntil([this] { return !m_folder.read("asked").empty(); });
    offer.make("git");
    settle();
    m_folder.write("answered", "");
    waitUntil([this] { return !m_folder.read("done").empty(); });
    EXPECT_EQ(m_folder.read("asked"), "/usr/bin/apt-get install -y git\n");
}

TEST_F(PackageOfferTest, AServiceWithoutTheInterfaceCountsAsNobody) {
    FakeService other(bus.connect(), "org.freedesktop.PackageKit");
    m_folder.write("answered", "");
    PackageOffer offer(bus.connect(), programs());
    offer.make("git");
    waitUntil([this] { return !m_folder.read("done").empty(); });
}

TEST_F(PackageOfferTest, WithoutAnythingNothingHappens) {
    PackageOffer offer(PrivateBus::noBus(), {m_folder / "missing", "/usr/bin/apt-get"});
    offer.make("git");
    settle();
    EXPECT_FALSE(std::filesystem::exists(m_folder / "asked"));
}

} // namespace
} // namespace driftwell::tests
