#include "core/WebAddress.h"

#include <gtest/gtest.h>

namespace driftwell::tests {
namespace {

class GoodAddressTest : public testing::TestWithParam<const char*> {};

TEST_P(GoodAddressTest, IsOneForABrowser) {
    const std::optional<QUrl> address = webAddress(QString::fromUtf8(GetParam()));
    ASSERT_TRUE(address);
    EXPECT_EQ(address->toEncoded(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Texts, GoodAddressTest,
                         testing::Values("https://garden.sites.test", "https://garden.sites.test/",
                                         "http://garden.driftwell.localhost:8787/", "http://127.0.0.1/a?b=c#d",
                                         "https://sites.test/a%20b"));

class BadAddressTest : public testing::TestWithParam<const char*> {};

TEST_P(BadAddressTest, IsNoneForABrowser) {
    EXPECT_FALSE(webAddress(QString::fromUtf8(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Texts, BadAddressTest,
                         testing::Values("", " ", "garden", "garden.sites.test", "/garden", "https://", "https:///a",
                                         "https://a b.test", "https://sites.test:port/", "https://[::1/",
                                         "https://sites.test/%zz", "file:///etc/passwd", "javascript:alert(1)",
                                         "mailto:ada@sites.test", "driftwell://open?site=garden", "ftp://sites.test/"));

} // namespace
} // namespace driftwell::tests
