#pragma once

#include "support/Task.h"

#include <QString>

#include <signal.h>
#include <termios.h>

#include <stop_token>

namespace driftwell::dw {

/// While it lives, a terminal on standard input (termios(3)) shows nothing of what is typed but the end of the line.
/// While the program is stopped from the keyboard, the terminal is as it was before. One at a time.
class HiddenTyping {
public:
    HiddenTyping();
    ~HiddenTyping();
    HiddenTyping(const HiddenTyping&) = delete;
    HiddenTyping& operator=(const HiddenTyping&) = delete;

    /// Whether there is a terminal, and so a person who types.
    [[nodiscard]] bool isTerminal() const { return m_isTerminal; }

private:
    using SignalAction = struct sigaction;

    termios m_before{};
    SignalAction m_stopBefore{};
    bool m_isTerminal;
};

/// The first line of standard input without the blanks around it. Throws WrongUsage when the line is empty or longer
/// than any token, std::system_error when it cannot be read, and Cancelled at once when it is told to stop.
[[nodiscard]] Task<QString> readToken(std::stop_token stop);

} // namespace driftwell::dw
