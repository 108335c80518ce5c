#pragma once

#include "platform/HttpProxy.h"
#include "platform/HttpSession.h"
#include "platform/HttpSockets.h"
#include "platform/PlatformError.h"
#include "platform/TrustedCertificates.h"
#include "support/Completion.h"
#include "support/UniqueFd.h"

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace driftwell {

struct HttpFailure;

/// One exchange: a libcurl easy handle with the request that it carries, the answer that it gathers, and the clock of
/// its limits. Made by whoever sends; from then on touched by the network thread alone, save for outcome().
class HttpTransfer {
public:
    using Clock = std::chrono::steady_clock;

    HttpTransfer(HttpRequest request, HttpLimits limits, TrustedCertificates trusted);
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    [[nodiscard]] Completion<HttpResponse> outcome() const { return m_outcome; }

    /// Sets up the handle and starts the clock. Throws std::system_error when the file to send cannot be opened. The
    /// session's sockets outlive the exchange.
    CURL* begin(HttpSockets& sockets);
    [[nodiscard]] CURL* handle() const { return m_easy.get(); }

    /// When to call checkLimits() next.
    [[nodiscard]] Clock::time_point nextCheck() const;

    /// False when a limit is passed; the transfer is then to be ended with failTimedOut().
    [[nodiscard]] bool checkLimits();

    /// Decides the outcome from libcurl's result.
    void finish(CURLcode code);
    void failTimedOut();

private:
    struct EasyDeleter {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    };
    struct ListDeleter {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    void setRequest();
    void setBody();
    void setPolicy();
    void setCallbacks();
    void addHeader(const QByteArray& line);

    [[nodiscard]] const FileBody* fileBody() const { return std::get_if<FileBody>(&m_request.body); }
    /// Through the proxy, where one stands between.
    [[nodiscard]] std::optional<HttpProxy> usedProxy() const;
    [[nodiscard]] HttpFailure failureOf(CURLcode code) const;
    /// Ends the exchange without an answer.
    void failUnanswered(const QString& text, PlatformErrorReason reason = PlatformErrorReason::Unspecified);
    /// Fills in the request's record, if it has one.
    void keepRecord();
    [[nodiscard]] std::optional<HttpExchange::Certificate> certificate() const;
    /// Whether a request that changes something has gone out to its last byte.
    [[nodiscard]] bool isChangeSent() const;
    [[nodiscard]] int queuedInKernel() const;
    void noteReceivedBytes();
    /// After redirects, the address that the last one led to.
    [[nodiscard]] QByteArray triedUrl() const;
    void noteActivity() { m_lastActivity = Clock::now(); }
    /// False when there are too many of them.
    bool readHeader(std::string_view line);
    void readStatusLine(std::string_view line);
    [[nodiscard]] bool isWithinHead() const { return m_awaitingHead || (m_headerBytes > 0 && !m_headComplete); }
    void makeRoomFor(std::size_t more);
    curl_socket_t openSocket(const curl_sockaddr& address);
    int beginRequest(int remotePort, int localPort);
    std::size_t receive(const char* data, std::size_t size);
    /// Reads of the file to send; false when that fails.
    bool readFile(char* buffer, std::size_t& size);
    void reportSent(curl_off_t sent, curl_off_t total);

    static curl_socket_t onOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int onPrerequest(void* self, char*, char*, int remotePort, int localPort);
    static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t onRead(char* buffer, std::size_t size, std::size_t count, void* self);
    static int onSeek(void* self, curl_off_t offset, int origin);
    static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t uploadTotal, curl_off_t uploaded);
    static int onSocketClosed(void* sockets, curl_socket_t socket);

    HttpRequest m_request;
    HttpLimits m_limits;
    TrustedCertificates m_trusted;
    std::unique_ptr<CURL, EasyDeleter> m_easy;
    std::unique_ptr<curl_slist, ListDeleter> m_headers;
    std::array<char, CURL_ERROR_SIZE> m_errorText{};

    UniqueFd m_file;
    std::int64_t m_fileSize = 0;
    std::int64_t m_fileRead = 0;
    int m_fileError = 0;
    curl_off_t m_sent = 0;
    HttpSockets* m_sessionSockets = nullptr;
    /// Those that this exchange has used.
    std::vector<HttpSockets::Socket> m_sockets;
    /// Where the last of them leads to.
    int m_remotePort = 0;
    /// The errno of a socket that could not be made.
    int m_socketError = 0;
    int m_queued = 0;

    HttpResponse m_response;
    std::int64_t m_headerBytes = 0;
    /// A request has gone out, on whatever connection.
    bool m_begun = false;
    /// A request is out and nothing of its answer has come.
    bool m_awaitingHead = false;
    /// The empty line that ends the headers has come.
    bool m_headComplete = false;
    bool m_resendRefused = false;
    Clock::time_point m_started;
    Clock::time_point m_lastActivity;
    Completion<HttpResponse> m_outcome;
};

} // namespace driftwell
