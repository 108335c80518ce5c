#include "tests/desktop/FakeService.h"

#include <algorithm>
#include <stdexcept>

namespace driftwell::tests {

FakeService::FakeService(QDBusConnection bus, const QString& name) : m_bus(std::move(bus)), m_name(name) {
    if (!m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath) ||
        !m_bus.registerService(m_name)) {
        throw std::runtime_error("the bus does not accept the service " + m_name.toStdString());
    }
}

FakeService::~FakeService() {
    m_bus.unregisterService(m_name);
    m_bus.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
}

void FakeService::on(const QString& interface, const QString& method, Answer answer) {
    m_answers[{interface, method}] = std::move(answer);
}

int FakeService::callsOf(const QString& method) const {
    return static_cast<int>(std::count_if(m_calls.begin(), m_calls.end(),
                                          [&method](const QDBusMessage& call) { return call.member() == method; }));
}

QDBusMessage FakeService::lastCallOf(const QString& method) const {
    const auto call = std::find_if(m_calls.rbegin(), m_calls.rend(),
                                   [&method](const QDBusMessage& each) { return each.member() == method; });
    if (call == m_calls.rend()) {
        throw std::runtime_error(method.toStdString() + " was not called");
    }
    return *call;
}

void FakeService::emitSignal(const QString& path, const QString& interface, const QString& name,
                             const QVariantList& arguments) {
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, name);
    signal.setArguments(arguments);
    m_bus.send(signal);
}

bool FakeService::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    m_calls.push_back(message);
    const auto answer = m_answers.find({message.interface(), message.member()});
    const QDBusMessage reply =
        answer == m_answers.end() ? message.createErrorReply(QDBusError::UnknownMethod, {}) : answer->second(message);
    if (reply.type() != QDBusMessage::InvalidMessage) {
        connection.send(reply);
    }
    return true;
}

QString FakeService::introspect(const QString&) const {
    return {};
}

} // namespace driftwell::tests
