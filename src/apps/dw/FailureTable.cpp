#include "apps/dw/FailureTable.h"

namespace driftwell::dw {

namespace {

std::vector<std::string> kindNames() {
    std::vector<std::string> names;
    for (const ErrorKindRecord& record : errorKinds()) {
        names.emplace_back(record.name);
    }
    return names;
}

std::optional<int> statusOf(const CommandFailure& failure) {
    const int status = failure.details.httpStatus;
    return status == 0 ? std::nullopt : std::optional(status);
}

std::optional<QString> hostOf(const CommandFailure& failure) {
    const QString& host = failure.details.host;
    return host.isEmpty() ? std::nullopt : std::optional(host);
}

std::optional<std::int64_t> waitOf(const CommandFailure& failure) {
    const auto wait = failure.details.retryAfter;
    return wait ? std::optional<std::int64_t>(wait->count()) : std::nullopt;
}

std::optional<std::vector<std::string>> filesOf(const CommandFailure& failure) {
    return failure.files.empty() ? std::nullopt : std::optional(failure.files);
}

const JsonTable<CommandFailure>& errorTable() {
    static const auto table =
        JsonTable<CommandFailure>()
            .add("kind", "what kind of failure it is, in one word; see Errors",
                 [](const CommandFailure& failure) { return recordOf(failure.kind).name; })
            .words(kindNames())
            .add("message", "what went wrong, as a sentence", &CommandFailure::message)
            .add("hint", "what can be done about it", &CommandFailure::advice)
            .add("status", "the HTTP status of the platform's answer", statusOf)
            .leftOutIfNull()
            .add("host", "the platform that was asked", hostOf)
            .leftOutIfNull()
            .add("retryAfter", "the seconds that the platform asks to wait before the next request", waitOf)
            .leftOutIfNull()
            .add("files", "the files that it is about", filesOf)
            .leftOutIfNull();
    return table;
}

} // namespace

const JsonTable<CommandFailure>& failureTable() {
    static const auto table = JsonTable<CommandFailure>().add("error", "why it failed", errorTable(),
                                                              [](const CommandFailure& failure) { return failure; });
    return table;
}

} // namespace driftwell::dw
