#pragma once

#include "desktop/freedesktop/LaunchRequest.h"
#include "support/UniqueFd.h"

#include <QObject>

#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace driftwell {

class LaunchReceiver;

/// Sees to it that a person runs one copy of the application for each configuration folder. The first start holds a
/// lock (flock(2)) as long as its process lives, however that ends; every later one hands its request over to the first
/// through a socket beside the lock and ends.
///
/// It is used before there is an application object, since a start that only hands over need not connect to a display.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    enum class Role { First, HandedOver };

    /// The first start runs but has not taken the request in time.
    class NoAnswer final : public std::runtime_error {
    public:
        NoAnswer();
    };

    /// How long a start waits for the first to take its request: the first may be starting itself.
    static constexpr std::chrono::seconds usualTimeout{10};

    /// Nothing happens yet. `timeout` is also how long somebody who connects has to say everything.
    explicit SingleInstance(const std::filesystem::path& configFolder,
                            std::chrono::milliseconds timeout = usualTimeout);
    ~SingleInstance() override;

    /// Becomes the first start, or hands the request over to the one that is. Blocks for as long as that takes. Throws
    /// NoAnswer, std::length_error when the request is larger than LaunchRequest::largestEncoding, and
    /// std::system_error when there is no folder for lock and socket.
    [[nodiscard]] Role claim(const LaunchRequest& request);

    /// Begins to take requests, on the event loop. For the first start, once; those that came since claim() are
    /// waiting.
    void listen();

Q_SIGNALS:
    /// A later start has handed over its request, and has been told so.
    void activated(const std::vector<std::string>& arguments, const std::string& activationToken);

private:
    [[nodiscard]] std::string socketName() const;
    [[nodiscard]] bool takeLock();
    void openSocket();

    const std::string m_key;
    const std::chrono::milliseconds m_timeout;
    UniqueFd m_folder;
    UniqueFd m_lock;
    UniqueFd m_socket;
    std::unique_ptr<LaunchReceiver> m_receiver;
};

} // namespace driftwell
