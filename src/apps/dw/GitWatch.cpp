#include "apps/dw/GitWatch.h"

#include "apps/dw/Reporter.h"
#include "apps/dw/TerminalText.h"
#include "apps/dw/Texts.h"

#include <QRegularExpression>

namespace driftwell::dw {

namespace {

// Names of many files can be among the arguments, and a platform's words in a failure. In columns.
constexpr qsizetype longestPart = 400;

QString bounded(const QString& text) {
    return columnsOf(text) > longestPart ? fittedTo(text, longestPart) : text;
}

/// As a shell reads it, in one line.
QString quoted(const QString& argument) {
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_@%+=:,./…^{}~-]+$"));
    if (plain.match(argument).hasMatch()) {
        return argument;
    }
    QString inner = safeOnTerminal(argument);
    return u'\'' + inner.replace(u'\'', QStringLiteral("'\\''")) + u'\'';
}

QString endText(const Git::RunRecord& run) {
    if (!run.code) {
        return QStringLiteral("stopped");
    }
    return (run.wasKilled ? QStringLiteral("ended by signal %1") : QStringLiteral("exit %1")).arg(*run.code);
}

} // namespace

void watchGit(Reporter& reporter) {
    Git::setObserver([&reporter](const Git::RunRecord& run) { reporter.notice(runText(run)); });
}

QString runText(const Git::RunRecord& run) {
    QStringList arguments;
    for (const QString& argument : run.arguments) {
        arguments += quoted(argument);
    }
    QString line = bounded(arguments.join(u' '));
    if (!run.folder.empty()) {
        line += QStringLiteral(" in ") + quoted(QString::fromStdString(run.folder.string()));
    }
    QStringList parts{endText(run), durationText(run.time)};
    if (!run.failure.isEmpty()) {
        parts += bounded(run.failure);
    }
    return QStringLiteral("> git %1: %2").arg(line, parts.join(QStringLiteral(", ")));
}

} // namespace driftwell::dw
