#pragma once

#include "desktop/freedesktop/LaunchRequest.h"
#include "support/UniqueFd.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <cstddef>

namespace driftwell {

/// Takes the requests that other processes of the same user send to a listening socket (unix(7), a stream): a sender
/// writes one request, ends its side, and reads the answer. Whoever sends anything else, too much, or not all of it in
/// time, is dropped without an answer.
class LaunchReceiver : public QObject {
    Q_OBJECT

public:
    /// What a sender reads when its request was taken (ASCII: acknowledge).
    static constexpr char acknowledgement = 0x06;
    /// Further senders wait for one of these to end.
    static constexpr std::size_t mostSendersAtOnce = 64;

    /// The socket is the owner's and stays open longer than this. `timeout` is how long a sender has.
    LaunchReceiver(const UniqueFd& socket, std::chrono::milliseconds timeout);

Q_SIGNALS:
    /// The sender has been told. The receiver may be destroyed in answer to this.
    void received(const LaunchRequest& request);

private:
    class Sender;

    void acceptSender();
    void senderEnded();

    int m_socket;
    std::chrono::milliseconds m_timeout;
    QSocketNotifier m_arrivals;
    std::size_t m_senders = 0;
};

} // namespace driftwell
