#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

namespace driftwell {

/// Arrays and objects nested deeper than this are refused: whatever walks a JSON value does so recursively.
inline constexpr int maximumJsonDepth = 512;

/// Bytes that are not a JSON text.
class JsonError final : public std::exception {
public:
    explicit JsonError(std::size_t line) : m_line(line) {}
    [[nodiscard]] const char* what() const noexcept override { return "not a JSON text"; }
    /// Where it stops being one, counted from 1.
    [[nodiscard]] std::size_t line() const { return m_line; }

private:
    std::size_t m_line;
};

/// Reads one JSON text (RFC 8259) from front to back and builds nothing: what is wanted is given as the part of the
/// text that it is, and what is not is passed over at no cost but time. A byte order mark may come first. All members
/// throw JsonError where the text goes against the grammar or is nested deeper than maximumJsonDepth. How large a
/// number is, whether an escaped surrogate has its partner, and whether a string's bytes are UTF-8, is not part of the
/// grammar.
///
/// The text must outlive the reader and what it gives.
class JsonReader {
public:
    explicit JsonReader(std::string_view text);

    /// The first character of the value that comes next, by which its kind is known: one of `{["-tfn` and the digits if
    /// the text is one.
    char peek();

    /// Reads an object and calls `member` with each name, as string() gives it; `member` reads the value.
    template <class Function> void object(Function member) {
        open('{');
        if (!accept('}')) {
            do {
                const std::string_view name = string();
                expect(':');
                member(name);
            } while (accept(','));
            expect('}');
        }
        --m_depth;
    }

    /// Reads an array and calls `element` before each value; `element` reads it.
    template <class Function> void array(Function element) {
        open('[');
        if (!accept(']')) {
            do {
                element();
            } while (accept(','));
            expect(']');
        }
        --m_depth;
    }

    /// Reads a value of any kind and gives its text.
    std::string_view skip();

    /// Reads a string, number, or one of true, false and null, and gives its text; a string's with its quotes.
    std::string_view string();
    std::string_view number();
    std::string_view word();

    /// Throws unless only space is left.
    void end();

    /// Whether every surrogate that was escaped in the strings read so far had its partner.
    [[nodiscard]] bool isUnicode() const { return m_isUnicode; }

private:
    [[noreturn]] void fail() const;
    void open(char bracket);
    /// Passes over the character if it is what comes next.
    bool accept(char character);
    void expect(char character);
    [[nodiscard]] char at(std::size_t position) const { return position < m_text.size() ? m_text[position] : '\0'; }
    void readEscape();
    void readDigits();

    std::string_view m_text;
    std::size_t m_at = 0;
    int m_depth = 0;
    bool m_isUnicode = true;
};

/// What a string stands for: the bytes between its quotes, escapes resolved into UTF-8. A surrogate without its partner
/// becomes the three bytes that UTF-8 would have for it (it has none). `string` is as JsonReader::string() gives it.
[[nodiscard]] std::string unescapedJson(std::string_view string);

} // namespace driftwell
