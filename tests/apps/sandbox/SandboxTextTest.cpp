#include "apps/sandbox/Text.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>

namespace driftwell::sandbox {

namespace {

TEST(SandboxText, percentEncodingIsUndone) {
    EXPECT_EQ(percentDecoded("a%20b%2fc"), "a b/c");
    EXPECT_EQ(percentDecoded("%C3%A9%ff"), "\xC3\xA9\xFF");
    EXPECT_EQ(percentDecoded("a+b"), "a+b");
    EXPECT_EQ(percentDecoded("%"), std::nullopt);
    EXPECT_EQ(percentDecoded("%4"), std::nullopt);
    EXPECT_EQ(percentDecoded("%zz"), std::nullopt);
}

TEST(SandboxText, whatIsEncodedDecodesToTheSame) {
    std::string every;
    for (int byte = 0; byte < 256; ++byte) {
        every += static_cast<char>(byte);
    }
    EXPECT_EQ(percentDecoded(percentEncoded(every)), every);
    EXPECT_EQ(percentEncoded("a b&c=/é"), "a%20b%26c%3D%2F%C3%A9");
    EXPECT_EQ(percentEncoded("aZ9-._~"), "aZ9-._~");
}

TEST(SandboxText, formFieldsAreDecodedAndTheFirstOfOneNameCounts) {
    const auto fields = formFields("a=1+2&b=%26&a=3&empty=&bare&=x&broken=%z");
    EXPECT_THAT(fields, testing::UnorderedElementsAre(testing::Pair("a", "1 2"), testing::Pair("b", "&"),
                                                      testing::Pair("empty", ""), testing::Pair("bare", "")));
}

TEST(SandboxText, htmlIsEscaped) {
    EXPECT_EQ(htmlEscaped("<a b='\"&\">"), "&lt;a b=&#39;&quot;&amp;&quot;&gt;");
}

TEST(SandboxText, onlyWholeDecimalNumbersAreNumbers) {
    EXPECT_EQ(decimal("0"), 0U);
    EXPECT_EQ(decimal("18446744073709551615"), 18446744073709551615U);
    for (const char* other : {"", "-1", "+1", " 1", "1 ", "1x", "18446744073709551616", "0x1"}) {
        EXPECT_EQ(decimal(other), std::nullopt) << other;
    }
}

TEST(SandboxText, namesOfSites) {
    for (const std::string& name : {std::string("a"), std::string("7"), std::string("a-"), std::string("a--b"),
                                    std::string("apis"), std::string(63, 'a')}) {
        EXPECT_TRUE(isSiteName(name)) << name;
    }
    for (const std::string& name :
         {std::string(), std::string("-a"), std::string("A"), std::string("a_b"), std::string("a.b"),
          std::string("a b"), std::string("é"), std::string(64, 'a'), std::string("api"), std::string("ws"),
          std::string("sdk"), std::string("www"), std::string("dw"), std::string("admin")}) {
        EXPECT_FALSE(isSiteName(name)) << name;
    }
}

TEST(SandboxText, timesHaveMillisecondsAndSortAsText) {
    using namespace std::chrono;
    const system_clock::time_point time{milliseconds(1'700'000'000'007)};
    EXPECT_EQ(timestamp(time), "2023-11-14T22:13:20.007Z");
    EXPECT_EQ(timestamp(time + milliseconds(993)), "2023-11-14T22:13:21.000Z");
    EXPECT_LT(timestamp(time), timestamp(time + milliseconds(1)));
}

TEST(SandboxText, amountsForPeople) {
    EXPECT_EQ(counted(1, "file", "files"), "1 file");
    EXPECT_EQ(counted(0, "file", "files"), "0 files");
    EXPECT_EQ(byteCount(999), "999 bytes");
    EXPECT_EQ(byteCount(1000), "1.0 kB");
    EXPECT_EQ(byteCount(999'999), "1.0 MB");
    EXPECT_EQ(byteCount(1'234'567'890), "1.2 GB");
}

} // namespace

} // namespace driftwell::sandbox
