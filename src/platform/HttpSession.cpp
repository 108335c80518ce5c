#include "platform/HttpSession.h"

#include "platform/HttpTransfer.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>

namespace driftwell {

namespace {

struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

// With nothing under way, only a wake-up ends the wait.
constexpr int waitWithoutTransfers = 24 * 60 * 60 * 1000;

} // namespace

/// The network thread: takes transfers in, drives them and decides their outcomes. Other threads only leave orders and
/// wake it.
class HttpSession::Network {
public:
    Network();
    ~Network() = default;
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    void start(std::shared_ptr<HttpTransfer> transfer);
    void cancel(const std::shared_ptr<HttpTransfer>& transfer);

    /// Ends every transfer with Cancelled and the thread. Orders that come later are answered with Cancelled.
    void shutDown();

private:
    struct Orders {
        std::vector<std::shared_ptr<HttpTransfer>> starts;
        std::vector<std::shared_ptr<HttpTransfer>> cancels;
        bool end = false;
    };

    void run();
    /// False when the thread is to end.
    bool carryOutOrders();
    [[nodiscard]] Orders takeOrders();
    void begin(const std::shared_ptr<HttpTransfer>& transfer);
    void drop(HttpTransfer& transfer);
    void collectFinished();
    void endOverdue();
    [[nodiscard]] int waitTime() const;

    HttpSockets m_sockets;
    std::unique_ptr<CURLM, MultiDeleter> m_multi;
    std::map<CURL*, std::shared_ptr<HttpTransfer>> m_running;

    std::mutex m_mutex;
    Orders m_orders;
    bool m_ended = false;
    std::thread m_thread;
};

HttpSession::Network::Network() {
    static std::once_flag initialized;
    std::call_once(initialized, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    m_multi.reset(curl_multi_init());
    // Without descriptors for wake-ups libcurl does without, and nobody could tell the thread to do anything.
    if (!m_multi || curl_multi_wakeup(m_multi.get()) != CURLM_OK) {
        throw std::system_error(EMFILE, std::generic_category(), "no network");
    }
    m_thread = std::thread([this] { run(); });
}

void HttpSession::Network::start(std::shared_ptr<HttpTransfer> transfer) {
    const std::scoped_lock lock(m_mutex);
    m_orders.starts.push_back(std::move(transfer));
    curl_multi_wakeup(m_multi.get());
}

void HttpSession::Network::cancel(const std::shared_ptr<HttpTransfer>& transfer) {
    const std::scoped_lock lock(m_mutex);
    if (m_ended) {
        return;
    }
    m_orders.cancels.push_back(transfer);
    curl_multi_wakeup(m_multi.get());
}

void HttpSession::Network::shutDown() {
    {
        const std::scoped_lock lock(m_mutex);
        m_orders.end = true;
        m_ended = true;
        curl_multi_wakeup(m_multi.get());
    }
    m_thread.join();
}

HttpSession::Network::Orders HttpSession::Network::takeOrders() {
    const std::scoped_lock lock(m_mutex);
    return std::exchange(m_orders, {});
}

bool HttpSession::Network::carryOutOrders() {
    const Orders orders = takeOrders();
    for (const auto& transfer : orders.starts) {
        begin(transfer);
    }
    for (const auto& transfer : orders.cancels) {
        drop(*transfer);
        transfer->outcome().fail(Cancelled());
    }
    return !orders.end;
}

void HttpSession::Network::run() {
    while (carryOutOrders()) {
        int running = 0;
        curl_multi_perform(m_multi.get(), &running);
        collectFinished();
        endOverdue();
        curl_multi_poll(m_multi.get(), nullptr, 0, waitTime(), nullptr);
    }
    while (!m_running.empty()) {
        const std::shared_ptr<HttpTransfer> transfer = m_running.begin()->second;
        drop(*transfer);
        transfer->outcome().fail(Cancelled());
    }
}

void HttpSession::Network::begin(const std::shared_ptr<HttpTransfer>& transfer) {
    try {
        CURL* const easy = transfer->begin(m_sockets);
        m_running.emplace(easy, transfer);
        curl_multi_add_handle(m_multi.get(), easy);
    } catch (const std::system_error& failure) {
        transfer->outcome().fail(failure);
    }
}

void HttpSession::Network::drop(HttpTransfer& transfer) {
    if (const auto found = m_running.find(transfer.handle()); found != m_running.end()) {
        curl_multi_remove_handle(m_multi.get(), transfer.handle());
        m_running.erase(found);
    }
}

void HttpSession::Network::collectFinished() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left)) {
        if (message->msg != CURLMSG_DONE) {
            continue;
        }
        const CURLcode code = message->data.result;
        const std::shared_ptr<HttpTransfer> transfer = m_running.at(message->easy_handle);
        drop(*transfer);
        transfer->finish(code);
    }
}

void HttpSession::Network::endOverdue() {
    std::vector<std::shared_ptr<HttpTransfer>> overdue;
    for (const auto& [easy, transfer] : m_running) {
        if (!transfer->checkLimits()) {
            overdue.push_back(transfer);
        }
    }
    for (const auto& transfer : overdue) {
        drop(*transfer);
        transfer->failTimedOut();
    }
}

int HttpSession::Network::waitTime() const {
    if (m_running.empty()) {
        return waitWithoutTransfers;
    }
    auto check = HttpTransfer::Clock::time_point::max();
    for (const auto& [easy, transfer] : m_running) {
        check = std::min(check, transfer->nextCheck());
    }
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(check - HttpTransfer::Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(wait.count(), 0, waitWithoutTransfers));
}

HttpSession::HttpSession(HttpLimits limits) : m_limits(limits) {}

HttpSession::~HttpSession() {
    if (m_network) {
        m_network->shutDown();
    }
}

Task<HttpResponse> HttpSession::send(HttpRequest request, std::stop_token stop) {
    throwIfCancelled(stop);
    const TrustedCertificates trusted = TrustedCertificates::ofEnvironment();
    if (request.url.startsWith("https:")) {
        trusted.requireReadable();
    }
    if (!m_network) {
        m_network = std::make_shared<Network>();
    }
    const HttpLimits limits = request.limits.value_or(m_limits);
    const auto transfer = std::make_shared<HttpTransfer>(std::move(request), limits, trusted);
    m_network->start(transfer);
    // The session may be gone when the stop comes; its network then has nothing left to cancel.
    const std::stop_callback cancel(stop, [network = m_network, transfer] { network->cancel(transfer); });
    co_return co_await transfer->outcome();
}

} // namespace driftwell
