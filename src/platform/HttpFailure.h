#pragma once

#include <QByteArray>
#include <QString>

#include <curl/curl.h>

namespace driftwell {

/// What a person reads of an exchange that brought no answer. `url` is the address that was tried, `detail` is
/// libcurl's own description (CURLOPT_ERRORBUFFER), `systemError` is the errno of the failed system call or 0.
[[nodiscard]] QString describeHttpFailure(CURLcode code, const QByteArray& url, const QByteArray& detail,
                                          long systemError);

/// For an exchange that outlived one of its limits.
[[nodiscard]] QString describeHttpTimeout(const QByteArray& url);

} // namespace driftwell
