#include "apps/dw/UnansweredChange.h"

namespace driftwell::dw {

QString outcomeQuestionText(const PlatformConfig& config) {
    return QStringLiteral("No answer; asking %1 what became of it…").arg(config.shownHost());
}

void requireMade(const CommandFailure& failure, SentChange::Kind change, const QString& site,
                 const ChangeOutcome& outcome) {
    if (outcome.kind != ChangeOutcome::Kind::Done) {
        throw FailedCommand(unansweredFailure(failure, change, site, outcome));
    }
}

Task<ChangeOutcome> requireMade(std::shared_ptr<Context> context, SentChange change, PlatformError failure) {
    if (!failure.hasOpenOutcome()) {
        throw PlatformError(failure);
    }
    context->reporter.progress(outcomeQuestionText(change.config));
    Task<ChangeOutcome> question = askForOutcome(*context->client, change, context->sleep, context->stop);
    const ChangeOutcome outcome = co_await std::move(question);
    requireMade(commandFailure(failure), change.kind, change.site, outcome);
    co_return outcome;
}

void reportMade(Reporter& reporter, const QString& what, const QString& failure) {
    reporter.success(QStringLiteral("%1 all the same: %2").arg(what, failure));
}

} // namespace driftwell::dw
