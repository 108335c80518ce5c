#include "apps/dw/Reporter.h"

#include "apps/dw/FailureTable.h"
#include "apps/dw/TerminalText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace driftwell::dw {

namespace {

constexpr const char* red = "\033[31m";
constexpr const char* green = "\033[32m";
constexpr const char* plain = "\033[0m";
constexpr const char* clearLine = "\r\033[K";

bool understandsSequences() {
    return !qEnvironmentVariableIsEmpty("TERM") && qgetenv("TERM") != "dumb";
}

void print(const std::string& bytes, std::FILE* file) {
    std::fwrite(bytes.data(), 1, bytes.size(), file);
}

} // namespace

Reporter::Reporter(Form form, Manner manner)
    : m_form(form),
      m_manner(manner),
      m_outputIsTerminal(::isatty(STDOUT_FILENO) == 1),
      m_errorIsTerminal(::isatty(STDERR_FILENO) == 1),
      m_progressWanted(manner == Manner::Usual && m_errorIsTerminal && understandsSequences()),
      m_colours(m_errorIsTerminal && understandsSequences() && qEnvironmentVariableIsEmpty("NO_COLOR")) {}

Reporter::~Reporter() {
    beginLine();
}

int Reporter::outputColumns() {
    constexpr int usual = 80;
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

void Reporter::text(const std::string& bytes) {
    beginLine();
    errno = 0;
    print(bytes, stdout);
    noteOutputFailure();
}

void Reporter::line(const std::string& bytes) {
    if (m_form == Form::Json) {
        return;
    }
    const bool asShown = m_outputIsTerminal;
    text((asShown ? safeOnTerminal(QString::fromStdString(bytes)).toStdString() : bytes) + '\n');
}

void Reporter::message(const QString& text) {
    if (m_form == Form::Text && m_manner == Manner::Usual) {
        writeError("", {}, text);
    }
}

void Reporter::notice(const QString& text) {
    writeError("", {}, text);
}

void Reporter::success(const QString& text) {
    if (m_form == Form::Text && m_manner == Manner::Usual) {
        writeError(green, QStringLiteral("✓ "), text);
    }
}

void Reporter::noticeOnce(const QString& text) {
    if (!m_noticed.contains(text)) {
        m_noticed.insert(text);
        notice(text);
    }
}

void Reporter::progress(const QString& text, const QString& stage) {
    if (!m_progressWanted) {
        if (stage != m_stageTold) {
            m_stageTold = stage;
            message(stage);
        }
        return;
    }
    m_isWaitingShown = false;
    if (text != m_progressShown) {
        print(clearLine + safeOnTerminal(text).toStdString(), stderr);
        m_progressShown = text;
    }
}

void Reporter::waiting(const QString& text) {
    if (m_progressWanted && m_progressShown.isEmpty() && !m_questionOpen) {
        progress(text);
        m_isWaitingShown = true;
    }
}

void Reporter::endWaiting() {
    if (m_isWaitingShown) {
        beginLine();
    }
}

bool Reporter::canAsk() const {
    return m_errorIsTerminal && ::isatty(STDIN_FILENO) == 1;
}

void Reporter::question(const QString& sentence, const QString& text) {
    writeError("", {}, sentence);
    print(safeOnTerminal(text).toStdString(), stderr);
    m_questionOpen = true;
}

void Reporter::failure(const CommandFailure& failure) {
    if (m_form == Form::Json) {
        writeObject(false, failureTable().object(failure));
        return;
    }
    writeError(red, QStringLiteral("dw: "), failure.message);
    // Who has pressed the keys knows what to do next.
    if (failure.kind != ErrorKind::Interrupted) {
        writeError("", {}, failure.advice());
    }
}

bool Reporter::flush() {
    errno = 0;
    std::fflush(stdout);
    noteOutputFailure();
    if (m_outputFailure == 0) {
        return true;
    }
    // A reader that has seen enough, as in `dw list | head -1`, is no news to anybody.
    if (m_outputFailure != EPIPE) {
        writeError(red, QStringLiteral("dw: "),
                   QStringLiteral("Could not write to standard output: ") +
                       QString::fromLocal8Bit(std::strerror(m_outputFailure)));
    }
    return false;
}

void Reporter::noteOutputFailure() {
    if (std::ferror(stdout) != 0 && m_outputFailure == 0) {
        m_outputFailure = errno;
    }
}

void Reporter::writeObject(bool ok, const Json& fields) {
    Json object = {{"ok", ok}, {"schema", jsonSchemaVersion}};
    object.update(fields);
    const std::string json = object.dump(-1, ' ', false, Json::error_handler_t::replace);
    text((m_outputIsTerminal ? jsonSafeOnTerminal(json) : json) + '\n');
}

void Reporter::writeError(const char* colour, const QString& mark, const QString& text) {
    beginLine();
    // What was said before on the other stream stays before.
    errno = 0;
    std::fflush(stdout);
    noteOutputFailure();
    std::string line = mark.toStdString();
    if (m_colours && !line.empty()) {
        line = colour + line + plain;
    }
    line += (m_errorIsTerminal ? safeOnTerminal(text) : text).toStdString() + '\n';
    print(line, stderr);
}

/// Whatever is written next begins a line of its own.
void Reporter::beginLine() {
    if (!m_progressShown.isEmpty()) {
        print(clearLine, stderr);
        m_progressShown.clear();
        m_isWaitingShown = false;
    }
    if (m_questionOpen) {
        print("\n", stderr);
        m_questionOpen = false;
    }
}

} // namespace driftwell::dw
