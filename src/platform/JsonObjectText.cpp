#include "platform/JsonObjectText.h"

#include "platform/JsonReader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace driftwell {

namespace {

constexpr std::size_t indentation = 2;

std::string withEscapedSlashes(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        // A slash can only stand inside a string, and a backslash only before what it escapes.
        if (text[i] == '/') {
            escaped += '\\';
        } else if (text[i] == '\\') {
            escaped += text[i++];
        }
        escaped += text[i];
    }
    return escaped;
}

std::string bracketed(char open, const std::vector<std::string>& parts, char close, std::size_t level) {
    std::string text(1, open);
    for (const std::string& part : parts) {
        text += text.size() == 1 ? "\n" : ",\n";
        text.append((level + 1) * indentation, ' ').append(part);
    }
    if (!parts.empty()) {
        text.append(1, '\n').append(level * indentation, ' ');
    }
    return text += close;
}

std::string formattedValue(JsonReader& reader, std::size_t level);

std::string formattedObject(JsonReader& reader, std::size_t level) {
    std::vector<std::pair<std::string, std::string>> members;
    reader.object([&](std::string_view name) {
        members.emplace_back(unescapedJson(name), withEscapedSlashes(name) + ": " + formattedValue(reader, level + 1));
    });
    std::ranges::stable_sort(members, {}, &std::pair<std::string, std::string>::first);
    std::vector<std::string> parts;
    for (auto& [name, part] : members) {
        parts.push_back(std::move(part));
    }
    return bracketed('{', parts, '}', level);
}

std::string formattedArray(JsonReader& reader, std::size_t level) {
    std::vector<std::string> parts;
    reader.array([&] { parts.push_back(formattedValue(reader, level + 1)); });
    return bracketed('[', parts, ']', level);
}

std::string formattedValue(JsonReader& reader, std::size_t level) {
    switch (reader.peek()) {
    case '{':
        return formattedObject(reader, level);
    case '[':
        return formattedArray(reader, level);
    default:
        return withEscapedSlashes(reader.skip());
    }
}

} // namespace

JsonObjectText::JsonObjectText(std::string_view text) {
    JsonReader reader(text);
    reader.object([&](std::string_view name) {
        const std::string_view value = reader.skip();
        m_members.insert_or_assign(unescapedJson(name), Member{std::string(name), std::string(value)});
    });
    reader.end();
}

std::string_view JsonObjectText::find(std::string_view name) const {
    const auto found = m_members.find(name);
    return found == m_members.end() ? std::string_view() : std::string_view(found->second.value);
}

void JsonObjectText::set(const std::string& name, std::string value) {
    m_members.insert_or_assign(name, Member{nlohmann::json(name).dump(), std::move(value)});
}

bool JsonObjectText::remove(const std::string& name) {
    return m_members.erase(name) > 0;
}

std::string JsonObjectText::text() const {
    std::string text;
    for (const auto& [name, member] : m_members) {
        text += (text.empty() ? "" : ",") + member.quotedName + ":" + member.value;
    }
    return "{" + text + "}";
}

std::string formattedJson(std::string_view text) {
    JsonReader reader(text);
    std::string formatted = formattedValue(reader, 0);
    reader.end();
    return formatted += '\n';
}

} // namespace driftwell
