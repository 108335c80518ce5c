#include "platform/PercentEncoding.h"

#include <QString>

#include <gtest/gtest.h>

namespace driftwell {
namespace {

QByteArray path(QStringView text) {
    return percentEncoded(text, UrlPart::Path).value_or("absent");
}

QByteArray query(QStringView text) {
    return percentEncoded(text, UrlPart::Query).value_or("absent");
}

TEST(PercentEncodingTest, LeavesTheCharactersOfAPathAsTheyAre) {
    const QString plain = QStringLiteral("ABCXYZabcxyz0189-._~!$&'()*+,;=:@/");
    EXPECT_EQ(path(plain), plain.toLatin1());
}

TEST(PercentEncodingTest, LeavesAQuestionMarkAsItIsInAQueryOnly) {
    EXPECT_EQ(path(u"a?b"), "a%3Fb");
    EXPECT_EQ(query(u"a?b"), "a?b");
}

TEST(PercentEncodingTest, EncodesEveryOtherAsciiCharacterWithTwoCapitalDigits) {
    const QByteArray plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,;=:@/";
    for (int code = 0; code < 0x80; ++code) {
        const char byte = static_cast<char>(code);
        const QByteArray encoded = "%" + QByteArray::number(code, 16).rightJustified(2, '0').toUpper();
        const QByteArray inPath = plain.contains(byte) ? QByteArray(1, byte) : encoded;
        EXPECT_EQ(path(QString(QChar(code))), inPath) << code;
        EXPECT_EQ(query(QString(QChar(code))), byte == '?' ? QByteArray("?") : inPath) << code;
    }
}

TEST(PercentEncodingTest, EncodesTheUtf8OfOtherCharactersByteByByte) {
    EXPECT_EQ(path(u"café"), "caf%C3%A9");
    EXPECT_EQ(path(u"e\u0301"), "e%CC%81");
    EXPECT_EQ(path(u"日本"), "%E6%97%A5%E6%9C%AC");
    EXPECT_EQ(path(u"😀"), "%F0%9F%98%80");
    EXPECT_EQ(path(u"\u0080\u07FF\u0800\uFFFF"), "%C2%80%DF%BF%E0%A0%80%EF%BF%BF");
}

TEST(PercentEncodingTest, EncodesAPercentSignAgain) {
    EXPECT_EQ(path(u"100%"), "100%25");
    EXPECT_EQ(path(u"%2F"), "%252F");
}

TEST(PercentEncodingTest, GivesAnEmptyTextForAnEmptyOne) {
    ASSERT_TRUE(percentEncoded(u"", UrlPart::Path).has_value());
    EXPECT_EQ(path(u""), "");
    EXPECT_EQ(query(QStringView()), "");
}

TEST(PercentEncodingTest, HasNoFormForASurrogateWithoutItsPartner) {
    const QChar high(0xD83D);
    const QChar low(0xDE00);
    for (const QString& text : {QString(high), QString(low), QString(low) + high, QString(high) + u'a',
                                u'a' + QString(high), QString(high) + high + low}) {
        EXPECT_EQ(percentEncoded(text, UrlPart::Path), std::nullopt);
        EXPECT_EQ(percentEncoded(text, UrlPart::Query), std::nullopt);
    }
    EXPECT_NE(percentEncoded(QString(high) + low, UrlPart::Path), std::nullopt);
}

} // namespace
} // namespace driftwell
