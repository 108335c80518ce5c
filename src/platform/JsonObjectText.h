#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace driftwell {

/// A JSON object whose values are kept as the text that they are: what is not looked at is not changed, be it a number
/// larger than any type, a string that has no form in Unicode, or whatever else the grammar allows. Of equal names the
/// last one counts.
class JsonObjectText {
public:
    JsonObjectText() = default;

    /// Throws JsonError when the text is not a JSON object.
    explicit JsonObjectText(std::string_view text);

    /// The value of that name; empty when there is none.
    [[nodiscard]] std::string_view find(std::string_view name) const;

    /// `value` is a JSON text.
    void set(const std::string& name, std::string value);
    /// False when there was none.
    bool remove(const std::string& name);

    template <class Predicate> std::size_t removeIf(Predicate predicate) {
        return std::erase_if(m_members, [&](const auto& member) { return predicate(member.second.value); });
    }

    template <class Visitor> void forEach(Visitor visit) const {
        for (const auto& [name, member] : m_members) {
            visit(name, member.value);
        }
    }

    /// On one line.
    [[nodiscard]] std::string text() const;

private:
    struct Member {
        /// As it stands in the text, with its quotes.
        std::string quotedName;
        std::string value;
    };
    std::map<std::string, Member, std::less<>> m_members;
};

/// A JSON text in the form of the session file: a line for each value, indented by two blanks for each level, the names
/// of each object sorted, a backslash before every slash, and one line feed at the end. Numbers, strings and words stay
/// as they are otherwise. Throws JsonError when the text is none.
[[nodiscard]] std::string formattedJson(std::string_view text);

} // namespace driftwell
