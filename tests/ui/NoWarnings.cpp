#include "tests/ui/NoWarnings.h"

#include <QString>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace driftwell::tests {

namespace {

/// Messages come from any thread.
class Warnings {
public:
    void add(std::string text) {
        const std::scoped_lock lock(m_mutex);
        m_texts.push_back(std::move(text));
    }

    std::vector<std::string> take() {
        const std::scoped_lock lock(m_mutex);
        return std::exchange(m_texts, {});
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_texts;
};

Warnings& warnings() {
    static Warnings all;
    return all;
}

QtMessageHandler printer = nullptr;

/// Windows that are drawn nowhere cannot do all that windows can, and say so.
bool isOfInvisibleWindows(const QString& text) {
    return text.startsWith(QLatin1String("This plugin does not support "));
}

void receive(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const bool isWarning = type == QtWarningMsg || type == QtCriticalMsg;
    if (isWarning && isOfInvisibleWindows(text)) {
        return;
    }
    if (isWarning) {
        warnings().add(text.toStdString());
    }
    printer(type, context, text);
}

} // namespace

NoWarnings::NoWarnings() {
    printer = qInstallMessageHandler(receive);
}

void NoWarnings::OnTestStart(const testing::TestInfo&) {
    warnings().take();
}

void NoWarnings::OnTestEnd(const testing::TestInfo&) {
    for (const std::string& text : warnings().take()) {
        ADD_FAILURE() << "warning: " << text;
    }
}

} // namespace driftwell::tests
