#include "core/Polls.h"

#include "core/Connection.h"

namespace driftwell {

void atEachPoll(Connection& connection, QObject* context, const std::function<void()>& then) {
    for (const auto signal : {&Connection::lastSyncChanged, &Connection::statusChanged}) {
        QObject::connect(&connection, signal, context, then);
    }
}

} // namespace driftwell
