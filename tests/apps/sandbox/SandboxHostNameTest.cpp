#include "apps/sandbox/HostName.h"

#include <gmock/gmock.h>

namespace driftwell::sandbox {

namespace {

constexpr int port = 8787;

TEST(SandboxHostName, thePlatformHasFourNames) {
    for (const char* name :
         {"driftwell.localhost:8787", "localhost:8787", "127.0.0.1:8787", "[::1]:8787", "LocalHost:8787"}) {
        EXPECT_EQ(hostName(name, port).kind, HostName::Kind::Platform) << name;
    }
    EXPECT_EQ(hostName("localhost", 80).kind, HostName::Kind::Platform);
    EXPECT_EQ(hostName("[::1]", 80).kind, HostName::Kind::Platform);
}

TEST(SandboxHostName, eachSiteHasTwoNames) {
    for (const char* name : {"my-site.driftwell.localhost:8787", "my-site.localhost:8787", "MY-SITE.localhost:8787"}) {
        const HostName host = hostName(name, port);
        EXPECT_EQ(host.kind, HostName::Kind::Site) << name;
        EXPECT_EQ(host.site, "my-site") << name;
    }
    EXPECT_EQ(hostName("driftwell.driftwell.localhost:8787", port).site, "driftwell");
}

TEST(SandboxHostName, everythingElseIsForeign) {
    for (const char* name :
         {"", "example.com:8787", "localhost:8788", "localhost", "127.0.0.2:8787", "a.b.localhost:8787",
          "api.localhost:8787", "-a.localhost:8787", ".localhost:8787", "localhost.:8787", "evillocalhost:8787",
          "localhost:8787x", "localhost:", "driftwell.localhost.evil:8787"}) {
        EXPECT_EQ(hostName(name, port).kind, HostName::Kind::Foreign) << name;
    }
}

TEST(SandboxHostName, anOriginIsAHostOverHttp) {
    EXPECT_EQ(originHost("http://driftwell.localhost:8787", port).kind, HostName::Kind::Platform);
    EXPECT_EQ(originHost("http://a.localhost:8787", port).kind, HostName::Kind::Site);
    for (const char* origin : {"null", "", "https://driftwell.localhost:8787", "http://evil.example",
                               "http://driftwell.localhost:8787/", "http://user@driftwell.localhost:8787"}) {
        EXPECT_EQ(originHost(origin, port).kind, HostName::Kind::Foreign) << origin;
    }
}

TEST(SandboxHostName, addresses) {
    EXPECT_EQ(platformUrl(port), "http://driftwell.localhost:8787");
    EXPECT_EQ(siteUrl("a", port), "http://a.driftwell.localhost:8787/");
}

} // namespace

} // namespace driftwell::sandbox
