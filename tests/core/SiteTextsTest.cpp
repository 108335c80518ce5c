#include "core/SiteTexts.h"

#include "tests/QtPrinters.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

SiteInfo deployedAt(const char* time) {
    SiteInfo site;
    site.deployedAt = QString::fromLatin1(time);
    return site;
}

const Timestamp present = *timestampFromIso(u"2026-03-01T10:00:00Z");

TEST(SiteTextsTest, TheAgeOfASiteIsThatOfItsLiveVersion) {
    const SiteInfo site = deployedAt("2026-03-01T09:55:00Z");
    EXPECT_EQ(deploymentTime(site), timestampFromIso(u"2026-03-01T09:55:00Z"));
    EXPECT_EQ(siteAge(site, present), QStringLiteral("5m ago"));
    EXPECT_EQ(shortSiteAge(site, present), QStringLiteral("5m"));
}

TEST(SiteTextsTest, ASiteThatWasNeverDeployedHasNoAge) {
    EXPECT_FALSE(deploymentTime(SiteInfo()));
    EXPECT_FALSE(siteAge(SiteInfo(), present));
    EXPECT_EQ(shortSiteAge(SiteInfo(), present), QStringLiteral("—"));
}

TEST(SiteTextsTest, ATimeThatCannotBeReadIsNone) {
    const SiteInfo site = deployedAt("yesterday");
    EXPECT_FALSE(deploymentTime(site));
    EXPECT_FALSE(siteAge(site, present));
    EXPECT_EQ(shortSiteAge(site, present), QStringLiteral("—"));
}

} // namespace
} // namespace driftwell::tests
