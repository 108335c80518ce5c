#pragma once

#include <QString>

#include <ostream>

/// For the messages of tests, which would otherwise show a text as its bytes.
inline void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}
