#include "ui/window/Alerts.h"

#include "tests/QtPrinters.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

#include <utility>

namespace driftwell::tests {
namespace {

/// Something that can fail.
class Work final : public QObject {
    Q_OBJECT

public:
    void fail(const QString& text) {
        m_error = text;
        Q_EMIT errorChanged();
    }
    [[nodiscard]] std::optional<QString> error() const { return m_error; }
    void clear() {
        m_error = std::nullopt;
        Q_EMIT errorChanged();
    }

Q_SIGNALS:
    void errorChanged();

private:
    std::optional<QString> m_error;
};

class AlertsTest : public testing::Test {
protected:
    AlertsTest() {
        add(m_first, "First failed");
        add(m_second, "Second failed");
    }

    Work& first() { return m_first; }
    Work& second() { return m_second; }
    Alerts& alerts() { return m_alerts; }

private:
    void add(Work& work, const char* title) {
        m_alerts.add(work, &Work::errorChanged,
                     {.title = QString::fromLatin1(title),
                      .text = [&work] { return work.error(); },
                      .dismiss =
                          [&work] {
                              work.clear();
                          }});
    }

    Work m_first;
    Work m_second;
    Alerts m_alerts{nullptr};
};

TEST_F(AlertsTest, WithoutAFailureThereIsNothingToTell) {
    EXPECT_FALSE(alerts().isPending());
    EXPECT_EQ(alerts().title(), QString());
    EXPECT_EQ(alerts().text(), QString());
    alerts().dismiss();
    EXPECT_FALSE(alerts().isPending());
}

TEST_F(AlertsTest, AFailureIsToldUntilItIsDismissed) {
    const QSignalSpy changes(&alerts(), &Alerts::changed);
    second().fail(QStringLiteral("no such version"));
    EXPECT_TRUE(alerts().isPending());
    EXPECT_EQ(alerts().title(), QStringLiteral("Second failed"));
    EXPECT_EQ(alerts().text(), QStringLiteral("no such version"));
    EXPECT_EQ(changes.count(), 1);
    alerts().dismiss();
    EXPECT_FALSE(second().error());
    EXPECT_FALSE(alerts().isPending());
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(AlertsTest, OfSeveralTheFirstOfTheListIsToldFirst) {
    second().fail(QStringLiteral("two"));
    first().fail(QStringLiteral("one"));
    EXPECT_EQ(alerts().title(), QStringLiteral("First failed"));
    alerts().dismiss();
    EXPECT_EQ(alerts().title(), QStringLiteral("Second failed"));
    EXPECT_EQ(alerts().text(), QStringLiteral("two"));
    alerts().dismiss();
    EXPECT_FALSE(alerts().isPending());
}

TEST_F(AlertsTest, AFailureWithoutWordsIsToldAllTheSame) {
    first().fail(QString());
    EXPECT_TRUE(alerts().isPending());
    EXPECT_EQ(alerts().title(), QStringLiteral("First failed"));
}

} // namespace
} // namespace driftwell::tests

#include "AlertsTest.moc"
