#include "apps/dw/FailureTable.h"

namespace driftwell::dw {

namespace {

const JsonTable<CommandFailure>& errorTable() {
    static const auto table = JsonTable<CommandFailure>()
                                  .add("kind", "what kind of failure it is, in one word", &CommandFailure::kind)
                                  .add("message", "what went wrong, as a sentence", &CommandFailure::message)
                                  .add("hint", "what can be done about it",
                                       [](const CommandFailure& failure) {
                                           return failure.hint.isEmpty() ? std::nullopt : std::optional(failure.hint);
                                       })
                                  .leftOutIfNull()
                                  .add("files", "the files that it is about",
                                       [](const CommandFailure& failure) {
                                           return failure.files.empty() ? std::nullopt : std::optional(failure.files);
                                       })
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
