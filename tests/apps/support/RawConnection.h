#pragma once

#include <string>

namespace driftwell::tests {

/// A plain connection to a port of 127.0.0.1, for what no client would send.
class RawConnection {
public:
    explicit RawConnection(int port);
    ~RawConnection();
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    /// False when the other side does not take all of it.
    bool send(const std::string& bytes) const;
    /// All that comes until the other side closes, or until nothing comes for ten seconds.
    [[nodiscard]] std::string readToEnd() const;
    /// Reads until the text given has come; false when it does not.
    [[nodiscard]] bool readUntil(const std::string& text) const;

private:
    int m_socket = -1;
};

} // namespace driftwell::tests
