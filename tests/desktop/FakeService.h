#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <functional>
#include <map>
#include <vector>

namespace driftwell::tests {

/// A program on the bus that owns a well-known name and answers the methods that it was told about. Calls of any other
/// method are answered with an error, as a real program does.
class FakeService : public QDBusVirtualObject {
public:
    /// Gives the reply, or an invalid message for none at all.
    using Answer = std::function<QDBusMessage(const QDBusMessage& call)>;

    FakeService(QDBusConnection bus, const QString& name);
    ~FakeService() override;

    void on(const QString& interface, const QString& method, Answer answer);

    /// All calls that came, answered or not.
    [[nodiscard]] const std::vector<QDBusMessage>& calls() const { return m_calls; }
    /// How many of them were of this method.
    [[nodiscard]] int callsOf(const QString& method) const;
    /// The last call of this method; it must have come.
    [[nodiscard]] QDBusMessage lastCallOf(const QString& method) const;

    void emitSignal(const QString& path, const QString& interface, const QString& name, const QVariantList& arguments);

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    [[nodiscard]] QString introspect(const QString& path) const override;

private:
    QDBusConnection m_bus;
    QString m_name;
    std::map<std::pair<QString, QString>, Answer> m_answers;
    std::vector<QDBusMessage> m_calls;
};

} // namespace driftwell::tests
