#include "platform/HttpFailure.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace driftwell {
namespace {

const QByteArray url = "https://Sites.example.org:8443/api/me";
const HttpProxy proxy{QStringLiteral("proxy.example.org"), 3128};

std::string failureText(const HttpFailure& failure) {
    return describeHttpFailure(failure).toStdString();
}

TEST(HttpFailureTest, SaysThatWhoAnsweredDoesNotSpeakHttps) {
    EXPECT_EQ(failureText({.code = CURLE_SSL_CONNECT_ERROR,
                           .url = url,
                           .detail = "error:0A00010B:SSL routines::wrong version number"}),
              "No secure connection to sites.example.org could be made: it does not speak https there");
}

TEST(HttpFailureTest, GivesTheSystemsReasonForAConnectionThatCouldNotBeMade) {
    EXPECT_EQ(failureText({.code = CURLE_COULDNT_CONNECT, .url = url, .systemError = ECONNREFUSED}),
              "Could not connect to sites.example.org: Connection refused");
}

TEST(HttpFailureTest, GivesNoReasonWhereTheSystemHasNone) {
    EXPECT_EQ(failureText({.code = CURLE_COULDNT_CONNECT, .url = url, .systemError = 0}),
              "Could not connect to sites.example.org.");
}

TEST(HttpFailureTest, SaysWhatToDoWithoutDescriptorsWhateverLibcurlCallsIt) {
    for (const CURLcode code : {CURLE_COULDNT_CONNECT, CURLE_COULDNT_RESOLVE_HOST, CURLE_OUT_OF_MEMORY}) {
        EXPECT_EQ(failureText({.code = code, .url = url, .systemError = EMFILE}),
                  "Too many open files. Close some programs, or raise the limit of open files (ulimit -n).");
    }
}

TEST(HttpFailureTest, GivesLibcurlsWordsWhereItHasNoneOfItsOwn) {
    EXPECT_EQ(failureText({.code = CURLE_BAD_CONTENT_ENCODING, .url = url, .detail = "the detail"}), "the detail");
    EXPECT_EQ(failureText({.code = CURLE_BAD_CONTENT_ENCODING, .url = url}),
              curl_easy_strerror(CURLE_BAD_CONTENT_ENCODING));
}

TEST(HttpFailureTest, NamesTheProxyAndItsStatus) {
    EXPECT_EQ(failureText({.code = CURLE_RECV_ERROR, .url = url, .proxy = proxy, .proxyStatus = 403}),
              "The proxy proxy.example.org:3128 did not connect to sites.example.org: HTTP 403");
    EXPECT_EQ(failureText({.code = CURLE_RECV_ERROR, .url = url, .proxy = proxy, .proxyStatus = 200}),
              "The connection to sites.example.org through the proxy proxy.example.org:3128 was lost.");
    EXPECT_EQ(failureText({.code = CURLE_RECV_ERROR, .url = url}), "The connection to sites.example.org was lost.");
}

TEST(HttpFailureTest, SaysWhatItIsMorePrecisely) {
    using Reason = PlatformErrorReason;
    const auto reasonOf = [](const HttpFailure& failure) {
        return reasonOfHttpFailure(failure);
    };
    EXPECT_EQ(reasonOf({.code = CURLE_COULDNT_CONNECT, .url = url, .systemError = ECONNREFUSED}), Reason::Unspecified);
    EXPECT_EQ(reasonOf({.code = CURLE_COULDNT_CONNECT, .url = url, .systemError = ECONNREFUSED, .proxy = proxy}),
              Reason::Proxy);
    EXPECT_EQ(reasonOf({.code = CURLE_COULDNT_CONNECT, .url = url, .systemError = EMFILE, .proxy = proxy}),
              Reason::Unspecified);
    EXPECT_EQ(reasonOf({.code = CURLE_COULDNT_RESOLVE_PROXY, .url = url, .proxy = proxy}), Reason::Proxy);
    EXPECT_EQ(reasonOf({.code = CURLE_RECV_ERROR, .url = url, .proxy = proxy, .proxyStatus = 403}), Reason::Proxy);
    EXPECT_EQ(reasonOf({.code = CURLE_RECV_ERROR, .url = url, .proxy = proxy}), Reason::Unspecified);
    EXPECT_EQ(reasonOf({.code = CURLE_PEER_FAILED_VERIFICATION, .url = url}), Reason::Certificate);
    EXPECT_EQ(reasonOf({.code = CURLE_SSL_CONNECT_ERROR, .url = url, .detail = "wrong version number"}),
              Reason::NotHttps);
    EXPECT_EQ(reasonOf({.code = CURLE_SSL_CONNECT_ERROR, .url = url}), Reason::Unspecified);
}

} // namespace
} // namespace driftwell
