#include "fuzz/Require.h"
#include "platform/Timestamp.h"

#include <QDateTime>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace driftwell;
    using namespace std::chrono_literals;
    using fuzz::require;

    const QString text = fuzz::textOf(data, size);
    const std::optional<Timestamp> time = timestampFromIso(text);
    if (!time) {
        return 0;
    }
    require(text.size() >= 20 && text.at(10) == u'T', "a time has a date and a time");
    require(!timestampFromIso(text + u' ') && !timestampFromIso(u' ' + text), "a time has nothing around it");
    require(!timestampFromIso(QStringView(text).chopped(1)), "a beginning of a time is none");
    require(*time > Timestamp(std::chrono::sys_days(std::chrono::year(-1) / 12 / 30)) &&
                *time < Timestamp(std::chrono::sys_days(std::chrono::year(10'000) / 1 / 3)),
            "a time lies in the years of four digits");

    // Qt reads the same form, with rounding, without the year 0 and with offsets of at most 14 hours.
    const QDateTime other = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (other.isValid() && text.left(4) != QLatin1String("0000")) {
        const auto difference = *time - Timestamp(std::chrono::milliseconds(other.toMSecsSinceEpoch()));
        require(difference > -2ms && difference < 2ms, "Qt reads the same moment");
    }
    return 0;
}
