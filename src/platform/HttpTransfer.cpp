#include "platform/HttpTransfer.h"

#include "platform/HttpFailure.h"
#include "platform/PlatformError.h"
#include "support/SystemError.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <string>
#include <system_error>

namespace driftwell {

namespace {

constexpr int queueChecksPerIdleLimit = 8;

// Trailers and interim answers among them, which libcurl takes without end.
constexpr std::int64_t maximumHeaderBytes = 1024 * 1024;

// A reply grows by this once it is as large, so that the last step does not double it.
constexpr qsizetype largestGrowth = 8 * 1024 * 1024;

/// The redirects that say where the answer is; the other statuses of their kind mean something else.
bool isRedirect(int status) {
    constexpr std::array statuses{301, 302, 303, 307, 308};
    return std::find(statuses.begin(), statuses.end(), status) != statuses.end();
}

int statusIn(std::string_view line) {
    const std::string_view rest = line.substr(std::min(line.find(' ') + 1, line.size()));
    int status = 0;
    std::from_chars(rest.data(), rest.data() + rest.size(), status);
    return status;
}

const char* textOrNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

/// Whether nothing more can be opened; libcurl calls that many things.
int lackOfDescriptors() {
    const UniqueFd probe(::open("/", O_PATH | O_CLOEXEC));
    return probe || (errno != EMFILE && errno != ENFILE) ? 0 : errno;
}

} // namespace

HttpTransfer::HttpTransfer(HttpRequest request, HttpLimits limits, TrustedCertificates trusted)
    : m_request(std::move(request)), m_limits(limits), m_trusted(std::move(trusted)) {}

CURL* HttpTransfer::begin(HttpSockets& sockets) {
    m_sessionSockets = &sockets;
    m_easy.reset(curl_easy_init());
    setRequest();
    setBody();
    setPolicy();
    setCallbacks();
    m_started = Clock::now();
    noteActivity();
    return m_easy.get();
}

void HttpTransfer::setRequest() {
    CURL* const easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, m_request.url.constData());
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    for (const auto& [name, value] : m_request.headers) {
        addHeader(name + ": " + value);
    }
    // GET and POST are libcurl's own, so that a redirect with 303 turns a POST into a GET as it should.
    if (m_request.method != "GET" && m_request.method != "POST") {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, m_request.method.constData());
        curl_easy_setopt(easy, CURLOPT_POSTREDIR, static_cast<long>(CURL_REDIR_POST_301 | CURL_REDIR_POST_302));
    }
}

void HttpTransfer::setBody() {
    CURL* const easy = m_easy.get();
    if (const auto* bytes = std::get_if<QByteArray>(&m_request.body)) {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bytes->size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, bytes->constData());
    } else if (const FileBody* body = fileBody()) {
        m_file = UniqueFd(checked(::open(body->file.c_str(), O_RDONLY | O_CLOEXEC), "could not open the archive"));
        struct stat attributes {};
        checked(::fstat(m_file.get(), &attributes), "could not read the archive");
        m_fileSize = attributes.st_size;
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_fileSize));
        // HTTP/2 would let a refused stream be sent again.
        curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
        // Waiting for "100 Continue" costs a second on servers that do not send it.
        addHeader("Expect:");
    } else if (m_request.method == "POST") {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, "");
    }
}

void HttpTransfer::setPolicy() {
    CURL* const easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_headers.get());
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "Driftwell/" DRIFTWELL_VERSION);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, static_cast<long>(m_limits.redirects));
    curl_easy_setopt(easy, CURLOPT_NOPROXY, proxyExceptions().c_str());
    if (m_trusted.areChosen()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, textOrNull(m_trusted.file));
        curl_easy_setopt(easy, CURLOPT_CAPATH, textOrNull(m_trusted.folder));
    }
    if (m_request.record) {
        curl_easy_setopt(easy, CURLOPT_CERTINFO, 1L);
    }
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // A cancel must not wait for the name lookup's thread.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    // The limits are this class's own, and all come in before libcurl's for connecting.
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(2 * m_limits.total.count()));
    if (m_request.method != "GET") {
        // libcurl sends a request again when a connection that it kept turns out to be dead.
        curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
    }
}

void HttpTransfer::setCallbacks() {
    CURL* const easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_errorText.data());
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, onOpenSocket);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, onSocketClosed);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, m_sessionSockets);
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, onPrerequest);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    if (fileBody() != nullptr) {
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, onRead);
        curl_easy_setopt(easy, CURLOPT_READDATA, this);
        curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, onSeek);
        curl_easy_setopt(easy, CURLOPT_SEEKDATA, this);
        // What waits in the kernel is this transfer's alone.
        curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    }
}

void HttpTransfer::addHeader(const QByteArray& line) {
    curl_slist* const longer = curl_slist_append(m_headers.get(), line.constData());
    [[maybe_unused]] const auto* const shorter = m_headers.release();
    m_headers.reset(longer);
}

HttpTransfer::Clock::time_point HttpTransfer::nextCheck() const {
    Clock::time_point check = std::min(m_started + m_limits.total, m_lastActivity + m_limits.idle);
    if (fileBody() != nullptr) {
        check = std::min(check, Clock::now() + m_limits.idle / queueChecksPerIdleLimit);
    }
    return check;
}

bool HttpTransfer::checkLimits() {
    const int queued = queuedInKernel();
    if (queued < m_queued) {
        noteActivity();
    }
    m_queued = queued;
    noteReceivedBytes();
    const Clock::time_point present = Clock::now();
    return present < m_started + m_limits.total && present < m_lastActivity + m_limits.idle;
}

void HttpTransfer::noteReceivedBytes() {
    for (const HttpSockets::Socket& socket : m_sockets) {
        m_lastActivity = std::max(m_lastActivity, m_sessionSockets->lastReceived(socket).value_or(m_lastActivity));
    }
}

int HttpTransfer::queuedInKernel() const {
    int sum = 0;
    for (const HttpSockets::Socket& socket : m_sockets) {
        sum += m_sessionSockets->unsent(socket);
    }
    return sum;
}

QByteArray HttpTransfer::triedUrl() const {
    const char* url = nullptr;
    curl_easy_getinfo(m_easy.get(), CURLINFO_EFFECTIVE_URL, &url);
    return url == nullptr || *url == '\0' ? m_request.url : QByteArray(url);
}

void HttpTransfer::finish(CURLcode code) {
    long status = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
    m_response.status = static_cast<int>(status);
    curl_off_t wait = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RETRY_AFTER, &wait);
    if (wait > 0) {
        m_response.retryAfter = std::chrono::seconds(wait);
    }
    keepRecord();
    // Only a proxy may answer so (RFC 9110, section 15.5.8).
    if (const auto proxy = status == 407 ? usedProxy() : std::nullopt) {
        PlatformErrorDetails details;
        details.reason = PlatformErrorReason::Proxy;
        details.httpStatus = m_response.status;
        m_outcome.fail(PlatformError::unreachable(describeProxyRefusal(*proxy, m_response.status)).with(details));
        return;
    }
    // Headers that break off are a whole answer to libcurl.
    if ((code == CURLE_OK && m_headComplete) || m_response.tooLarge) {
        const char* redirect = nullptr;
        curl_easy_getinfo(m_easy.get(), CURLINFO_REDIRECT_URL, &redirect);
        m_response.redirect = isRedirect(m_response.status) ? QByteArray(redirect) : QByteArray();
        m_outcome.succeed(std::move(m_response));
        return;
    }
    if (m_fileError != 0) {
        m_outcome.fail(std::system_error(m_fileError, std::generic_category(), "could not read the archive"));
        return;
    }
    const bool otherProtocol = code == CURLE_UNSUPPORTED_PROTOCOL && m_awaitingHead;
    if (otherProtocol || code == CURLE_WEIRD_SERVER_REPLY) {
        failUnanswered(QStringLiteral("no response"));
        return;
    }
    // To libcurl, a header that is longer than it takes is a lack of memory.
    if (m_headerBytes > maximumHeaderBytes || (code == CURLE_OUT_OF_MEMORY && isWithinHead())) {
        failUnanswered(describeHttpHeaders(triedUrl()));
        return;
    }
    const CURLcode reason = code == CURLE_OK || m_resendRefused ? CURLE_GOT_NOTHING : code;
    const HttpFailure failure = failureOf(reason);
    failUnanswered(describeHttpFailure(failure), reasonOfHttpFailure(failure));
}

void HttpTransfer::failUnanswered(const QString& text, PlatformErrorReason reason) {
    const PlatformError failure = PlatformError::unreachable(text).with(reason);
    m_outcome.fail(isChangeSent() ? failure.withOpenOutcome() : failure);
}

bool HttpTransfer::isChangeSent() const {
    curl_off_t sent = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_UPLOAD_T, &sent);
    return m_begun && m_request.method != "GET" && (fileBody() == nullptr || sent >= m_fileSize);
}

HttpFailure HttpTransfer::failureOf(CURLcode code) const {
    HttpFailure failure{.code = code, .url = triedUrl(), .detail = m_errorText.data(), .proxy = usedProxy()};
    curl_easy_getinfo(m_easy.get(), CURLINFO_OS_ERRNO, &failure.systemError);
    curl_easy_getinfo(m_easy.get(), CURLINFO_HTTP_CONNECTCODE, &failure.proxyStatus);
    if (code == CURLE_COULDNT_RESOLVE_PROXY) {
        failure.proxy = proxyOf(failure.url);
    }
    if (m_sockets.empty()) {
        const int lack = m_socketError != 0 ? m_socketError : lackOfDescriptors();
        failure.systemError = lack != 0 ? lack : failure.systemError;
    }
    return failure;
}

std::optional<HttpProxy> HttpTransfer::usedProxy() const {
    const QByteArray url = triedUrl();
    std::optional<HttpProxy> proxy = proxyOf(url);
    return proxy && leadsToProxy(*proxy, url, m_remotePort) ? proxy : std::nullopt;
}

void HttpTransfer::failTimedOut() {
    keepRecord();
    failUnanswered(describeHttpTimeout(triedUrl(), usedProxy()), PlatformErrorReason::TimedOut);
}

void HttpTransfer::keepRecord() {
    if (!m_request.record) {
        return;
    }
    HttpExchange& record = *m_request.record;
    record.method = m_request.method;
    record.url = triedUrl();
    record.time = std::chrono::floor<std::chrono::milliseconds>(Clock::now() - m_started);
    record.proxy = usedProxy();
    record.certificate = certificate();
    long number = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &number);
    record.status = static_cast<int>(number);
    curl_easy_getinfo(m_easy.get(), CURLINFO_REDIRECT_COUNT, &number);
    record.redirects = static_cast<int>(number);
    curl_off_t bytes = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_UPLOAD_T, &bytes);
    record.sentBytes = bytes;
    curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_DOWNLOAD_T, &bytes);
    record.receivedBytes = bytes;
}

std::optional<HttpExchange::Certificate> HttpTransfer::certificate() const {
    curl_certinfo* chain = nullptr;
    curl_easy_getinfo(m_easy.get(), CURLINFO_CERTINFO, &chain);
    // A connection that was kept has shown its certificate to an earlier exchange.
    if (chain == nullptr || chain->num_of_certs < 1) {
        return std::nullopt;
    }
    HttpExchange::Certificate certificate;
    for (const curl_slist* line = chain->certinfo[0]; line != nullptr; line = line->next) {
        const std::string_view text(line->data);
        for (const auto& [name, value] :
             {std::pair("Subject:", &certificate.subject), std::pair("Issuer:", &certificate.issuer),
              std::pair("Expire date:", &certificate.expires)}) {
            if (text.starts_with(name)) {
                *value = QString::fromUtf8(text.substr(std::string_view(name).size()));
            }
        }
    }
    return certificate;
}

bool HttpTransfer::readHeader(std::string_view line) {
    noteActivity();
    m_headerBytes += static_cast<std::int64_t>(line.size());
    if (m_headerBytes > maximumHeaderBytes) {
        return false;
    }
    m_awaitingHead = false;
    if (line.starts_with("HTTP/")) {
        readStatusLine(line);
    } else if (line == "\r\n" || line == "\n") {
        m_headComplete = true;
    }
    return true;
}

void HttpTransfer::readStatusLine(std::string_view line) {
    m_headComplete = false;
    const int status = statusIn(line);
    // libcurl follows whatever has a Location and a status that begins with 3.
    curl_easy_setopt(m_easy.get(), CURLOPT_FOLLOWLOCATION, isRedirect(status) && m_limits.redirects > 0 ? 1L : 0L);
    if (status == 303) {
        // The other address is to be read; libcurl would use the given method on it.
        curl_easy_setopt(m_easy.get(), CURLOPT_CUSTOMREQUEST, nullptr);
    }
}

void HttpTransfer::makeRoomFor(std::size_t more) {
    const qsizetype needed = m_response.body.size() + static_cast<qsizetype>(more);
    const qsizetype capacity = m_response.body.capacity();
    if (needed > capacity) {
        m_response.body.reserve(std::max(needed, capacity + std::min(capacity, largestGrowth)));
    }
}

std::size_t HttpTransfer::receive(const char* data, std::size_t size) {
    noteActivity();
    if (static_cast<std::int64_t>(size) > m_limits.replyBytes - m_response.body.size()) {
        m_response.tooLarge = true;
        m_response.body.clear();
        return CURL_WRITEFUNC_ERROR;
    }
    makeRoomFor(size);
    m_response.body.append(data, static_cast<qsizetype>(size));
    return size;
}

bool HttpTransfer::readFile(char* buffer, std::size_t& size) {
    const auto wanted =
        static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(size), m_fileSize - m_fileRead));
    ssize_t got = 0;
    do {
        got = ::read(m_file.get(), buffer, wanted);
    } while (got < 0 && errno == EINTR);
    if (got < 0 || (got == 0 && wanted > 0)) {
        // A file that ends before the size that was announced would leave the server waiting.
        m_fileError = got < 0 ? errno : EIO;
        return false;
    }
    size = static_cast<std::size_t>(got);
    m_fileRead += got;
    return true;
}

void HttpTransfer::reportSent(curl_off_t sent, curl_off_t total) {
    if (sent == m_sent) {
        return;
    }
    m_sent = sent;
    noteActivity();
    // A redirect can turn the upload into a GET, which has nothing to send.
    if (const FileBody* body = fileBody(); body != nullptr && body->onSent && total > 0) {
        body->onSent(sent, total);
    }
}

curl_socket_t HttpTransfer::openSocket(const curl_sockaddr& address) {
    // Programs that are started meanwhile must not inherit the connection.
    const int socket = ::socket(address.family, address.socktype | SOCK_CLOEXEC, address.protocol);
    if (socket < 0) {
        m_socketError = errno;
        return CURL_SOCKET_BAD;
    }
    m_sockets.push_back(m_sessionSockets->add(socket));
    // In both families the port comes second, after two bytes.
    m_remotePort = ntohs(reinterpret_cast<const sockaddr_in*>(&address.addr)->sin_port);
    return socket;
}

int HttpTransfer::beginRequest(int remotePort, int localPort) {
    if (m_awaitingHead && m_request.method != "GET") {
        m_resendRefused = true;
        return CURL_PREREQFUNC_ABORT;
    }
    m_begun = true;
    m_awaitingHead = true;
    m_headComplete = false;
    m_remotePort = remotePort;
    // A connection that was kept was opened by another exchange.
    if (const auto socket = m_sessionSockets->find(localPort, remotePort)) {
        m_sockets.assign(1, *socket);
    }
    return CURL_PREREQFUNC_OK;
}

curl_socket_t HttpTransfer::onOpenSocket(void* self, curlsocktype, curl_sockaddr* address) {
    return static_cast<HttpTransfer*>(self)->openSocket(*address);
}

int HttpTransfer::onPrerequest(void* self, char*, char*, int remotePort, int localPort) {
    return static_cast<HttpTransfer*>(self)->beginRequest(remotePort, localPort);
}

std::size_t HttpTransfer::onHeader(char* data, std::size_t size, std::size_t count, void* self) {
    return static_cast<HttpTransfer*>(self)->readHeader({data, size * count}) ? size * count : CURL_WRITEFUNC_ERROR;
}

std::size_t HttpTransfer::onBody(char* data, std::size_t size, std::size_t count, void* self) {
    return static_cast<HttpTransfer*>(self)->receive(data, size * count);
}

std::size_t HttpTransfer::onRead(char* buffer, std::size_t size, std::size_t count, void* self) {
    std::size_t bytes = size * count;
    return static_cast<HttpTransfer*>(self)->readFile(buffer, bytes) ? bytes : CURL_READFUNC_ABORT;
}

int HttpTransfer::onSeek(void* self, curl_off_t offset, int origin) {
    auto* const transfer = static_cast<HttpTransfer*>(self);
    const off_t position = ::lseek(transfer->m_file.get(), offset, origin);
    if (position < 0) {
        return CURL_SEEKFUNC_FAIL;
    }
    transfer->m_fileRead = position;
    return CURL_SEEKFUNC_OK;
}

int HttpTransfer::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t uploadTotal, curl_off_t uploaded) {
    static_cast<HttpTransfer*>(self)->reportSent(uploaded, uploadTotal);
    return 0;
}

int HttpTransfer::onSocketClosed(void* sockets, curl_socket_t socket) {
    static_cast<HttpSockets*>(sockets)->remove(socket);
    return ::close(socket);
}

} // namespace driftwell
