#include "apps/dw/TokenInput.h"

#include "apps/dw/CommandFailure.h"
#include "apps/dw/LineInput.h"
#include "support/SystemError.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

namespace driftwell::dw {

namespace {

constexpr std::size_t longestToken = 65536;

/// Without the line break; the rest of the input where there is none.
Task<std::string> firstLine(std::stop_token stop) {
    std::string text;
    std::array<char, 4096> block;
    while (text.find('\n') == std::string::npos && text.size() <= longestToken) {
        // Not by a read that blocks: the person may give up.
        co_await awaitInput(stop);
        const ssize_t got = ::read(STDIN_FILENO, block.data(), block.size());
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        checked(got, "standard input");
        if (got == 0) {
            break;
        }
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    co_return text.substr(0, text.find('\n'));
}

} // namespace

HiddenTyping::HiddenTyping() : m_isTerminal(::tcgetattr(STDIN_FILENO, &m_before) == 0) {
    if (m_isTerminal) {
        termios hidden = m_before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        hidden.c_lflag |= ECHONL;
        ::tcsetattr(STDIN_FILENO, TCSADRAIN, &hidden);
    }
}

HiddenTyping::~HiddenTyping() {
    if (m_isTerminal) {
        ::tcsetattr(STDIN_FILENO, TCSADRAIN, &m_before);
    }
}

Task<QString> readToken(std::stop_token stop) {
    const std::string line = co_await firstLine(std::move(stop));
    const QString token = QString::fromStdString(line).trimmed();
    if (token.isEmpty()) {
        throw WrongUsage(QStringLiteral("There is no token on standard input"),
                         QStringLiteral("For example: dw login --with-token < FILE"));
    }
    if (line.size() > longestToken) {
        throw WrongUsage(QStringLiteral("What is on standard input is too long for a token"));
    }
    co_return token;
}

} // namespace driftwell::dw
