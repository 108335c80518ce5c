#include "platform/JsonReader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace driftwell {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t hexDigits = 4;

bool isSpace(char character) {
    return character == ' ' || character == '\n' || character == '\r' || character == '\t';
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Ends a run of characters that stand for themselves.
bool endsRun(char character) {
    return character == '"' || character == '\\' || static_cast<unsigned char>(character) < 0x20;
}

/// The code unit of "\uXXXX" at the beginning of the text; -1 when there is none.
std::int32_t codeUnit(std::string_view text) {
    if (!text.starts_with("\\u") || text.size() < 2 + hexDigits) {
        return -1;
    }
    std::uint32_t unit = 0;
    const char* const begin = text.data() + 2;
    const auto [end, error] = std::from_chars(begin, begin + hexDigits, unit, 16);
    return error == std::errc() && end == begin + hexDigits ? static_cast<std::int32_t>(unit) : -1;
}

bool isHighSurrogate(std::int32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(std::int32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& text, std::uint32_t character) {
    const auto append = [&text](std::uint32_t byte) {
        text += static_cast<char>(byte);
    };
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        append(0xE0 | character >> 12);
        append(0x80 | (character >> 6 & 0x3F));
    } else {
        append(0xF0 | character >> 18);
        append(0x80 | (character >> 12 & 0x3F));
        append(0x80 | (character >> 6 & 0x3F));
    }
    append(0x80 | (character & 0x3F));
}

char shortEscape(char letter) {
    switch (letter) {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return letter;
    }
}

} // namespace

JsonReader::JsonReader(std::string_view text) : m_text(text) {
    if (m_text.starts_with(byteOrderMark)) {
        m_at = byteOrderMark.size();
    }
}

void JsonReader::fail() const {
    const std::string_view read = m_text.substr(0, m_at);
    throw JsonError(1 + static_cast<std::size_t>(std::count(read.begin(), read.end(), '\n')));
}

char JsonReader::peek() {
    while (isSpace(at(m_at))) {
        ++m_at;
    }
    if (m_at == m_text.size()) {
        fail();
    }
    return m_text[m_at];
}

bool JsonReader::accept(char character) {
    if (peek() != character) {
        return false;
    }
    ++m_at;
    return true;
}

void JsonReader::expect(char character) {
    if (!accept(character)) {
        fail();
    }
}

void JsonReader::open(char bracket) {
    expect(bracket);
    if (++m_depth > maximumJsonDepth) {
        fail();
    }
}

std::string_view JsonReader::skip() {
    const char first = peek();
    const std::size_t begin = m_at;
    if (first == '{') {
        object([this](std::string_view) { skip(); });
    } else if (first == '[') {
        array([this] { skip(); });
    } else if (first == '"') {
        string();
    } else if (first == '-' || isDigit(first)) {
        number();
    } else {
        word();
    }
    return m_text.substr(begin, m_at - begin);
}

std::string_view JsonReader::string() {
    expect('"');
    const std::size_t begin = m_at - 1;
    for (;;) {
        m_at = static_cast<std::size_t>(
            std::find_if(m_text.begin() + static_cast<std::ptrdiff_t>(m_at), m_text.end(), endsRun) - m_text.begin());
        if (at(m_at) == '\\') {
            readEscape();
        } else if (at(m_at) == '"') {
            ++m_at;
            return m_text.substr(begin, m_at - begin);
        } else {
            fail();
        }
    }
}

void JsonReader::readEscape() {
    if (at(m_at + 1) != 'u') {
        if (std::string_view("\"\\/bfnrt").find(at(m_at + 1)) == std::string_view::npos) {
            fail();
        }
        m_at += 2;
        return;
    }
    constexpr std::size_t length = 2 + hexDigits;
    const std::int32_t unit = codeUnit(m_text.substr(m_at));
    if (unit < 0) {
        fail();
    }
    m_at += length;
    if (isHighSurrogate(unit) && isLowSurrogate(codeUnit(m_text.substr(m_at)))) {
        m_at += length;
    } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
        m_isUnicode = false;
    }
}

void JsonReader::readDigits() {
    if (!isDigit(at(m_at))) {
        fail();
    }
    while (isDigit(at(m_at))) {
        ++m_at;
    }
}

std::string_view JsonReader::number() {
    const bool isNegative = peek() == '-';
    const std::size_t begin = m_at;
    m_at += isNegative ? 1 : 0;
    if (at(m_at) == '0') {
        ++m_at;
    } else {
        readDigits();
    }
    if (at(m_at) == '.') {
        ++m_at;
        readDigits();
    }
    if (at(m_at) == 'e' || at(m_at) == 'E') {
        ++m_at;
        if (at(m_at) == '+' || at(m_at) == '-') {
            ++m_at;
        }
        readDigits();
    }
    return m_text.substr(begin, m_at - begin);
}

std::string_view JsonReader::word() {
    peek();
    for (const std::string_view word : {"true", "false", "null"}) {
        if (m_text.substr(m_at).starts_with(word)) {
            m_at += word.size();
            return word;
        }
    }
    fail();
}

void JsonReader::end() {
    while (isSpace(at(m_at))) {
        ++m_at;
    }
    if (m_at != m_text.size()) {
        fail();
    }
}

std::string unescapedJson(std::string_view string) {
    std::string_view rest = string.substr(1, string.size() - 2);
    std::string text;
    text.reserve(rest.size());
    while (!rest.empty()) {
        const std::size_t run = std::min(rest.find('\\'), rest.size());
        text.append(rest.substr(0, run));
        rest.remove_prefix(run);
        if (rest.empty()) {
            break;
        }
        const std::int32_t unit = codeUnit(rest);
        if (unit < 0) {
            text += shortEscape(rest[1]);
            rest.remove_prefix(2);
            continue;
        }
        rest.remove_prefix(2 + hexDigits);
        const std::int32_t next = isHighSurrogate(unit) ? codeUnit(rest) : -1;
        if (isLowSurrogate(next)) {
            rest.remove_prefix(2 + hexDigits);
            appendUtf8(text, static_cast<std::uint32_t>(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00)));
        } else {
            appendUtf8(text, static_cast<std::uint32_t>(unit));
        }
    }
    return text;
}

} // namespace driftwell
