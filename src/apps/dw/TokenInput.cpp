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

// For the handler of a signal.
termios shownTyping;
termios hiddenTyping;

/// Whoever has the terminal while this program is stopped finds it as it was; the shell alone does not see to that.
void stopWithTypingShown(int) {
    const int reason = errno;
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &shownTyping);
    ::raise(SIGSTOP);
    ::tcsetattr(STDIN_FILENO, TCSADRAIN, &hiddenTyping);
    errno = reason;
}

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
        shownTyping = m_before;
        hiddenTyping = m_before;
        hiddenTyping.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        hiddenTyping.c_lflag |= ECHONL;
        SignalAction stop{};
        stop.sa_handler = stopWithTypingShown;
        stop.sa_flags = SA_RESTART;
        ::sigaction(SIGTSTP, nullptr, &m_stopBefore);
        if (m_stopBefore.sa_handler != SIG_IGN) {
            ::sigaction(SIGTSTP, &stop, nullptr);
        }
        ::tcsetattr(STDIN_FILENO, TCSADRAIN, &hiddenTyping);
    }
}

HiddenTyping::~HiddenTyping() {
    if (m_isTerminal) {
        // The handler first: it would hide again what is shown from here on.
        ::sigaction(SIGTSTP, &m_stopBefore, nullptr);
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
        throw WrongUsage(QStringLiteral("What is on standard input is too long for a token"),
                         QStringLiteral("For example: dw login --with-token < FILE"));
    }
    co_return token;
}

} // namespace driftwell::dw
