#include "apps/dw/AgentTexts.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QResource>

#include <array>
#include <stdexcept>

namespace driftwell::dw {

namespace {

constexpr std::string_view fileMark = "<!-- dw init: ";
constexpr std::string_view fileMarkEnd = ". Change this file and it stays as you left it. -->";
constexpr std::string_view beginMark = "<!-- dw init: begin ";
constexpr std::string_view beginMarkEnd = ". Change what is between these markers and it stays as you left it. -->";
constexpr std::string_view endMark = "<!-- dw init: end -->";

// Enough to tell a change: nobody gains by a forged one.
constexpr qsizetype digestLetters = 16;

std::string resource(const std::string& name) {
    // Not by a QFile: an object would make a thread of Qt's out of the one that this runs on.
    const QResource text(QStringLiteral(":/driftwell/agents/") + QString::fromStdString(name) + QStringLiteral(".md"));
    if (!text.isValid()) {
        throw std::runtime_error("The program lacks its text " + name);
    }
    return text.uncompressedData().toStdString();
}

std::string digest(const std::string& text) {
    return QCryptographicHash::hash(QByteArray::fromStdString(text), QCryptographicHash::Sha256)
        .toHex()
        .left(digestLetters)
        .toStdString();
}

std::string withPlainLineEnds(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') {
            result += text[i];
        }
    }
    return result;
}

std::string withLineEnds(const std::string& text, std::string_view lineEnd) {
    std::string result;
    for (const char letter : text) {
        result += letter == '\n' ? std::string(lineEnd) : std::string(1, letter);
    }
    return result;
}

/// Those of the first line.
std::string_view lineEndOf(std::string_view text) {
    const std::size_t end = text.find('\n');
    return end != std::string_view::npos && end > 0 && text[end - 1] == '\r' ? "\r\n" : "\n";
}

/// The last line with all that is before it.
struct Split {
    std::string before;
    std::string lastLine;
};

Split split(const std::string& text) {
    const std::size_t end = text.ends_with('\n') ? text.size() - 1 : text.size();
    const std::size_t breakBefore = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
    const std::size_t begin = breakBefore == std::string::npos ? 0 : breakBefore + 1;
    return {text.substr(0, begin), text.substr(begin, end - begin)};
}

std::string marked(const std::string& text) {
    return text + '\n' + std::string(fileMark) + digest(text + '\n') + std::string(fileMarkEnd) + '\n';
}

/// Where a section of ours stands in a file, in bytes from its begin.
struct Place {
    std::size_t begin = 0;     ///< of the first marker's line
    std::size_t textBegin = 0; ///< of the line after it
    std::size_t textEnd = 0;   ///< of the second marker's line
    std::size_t end = 0;       ///< behind that line and its end
};

std::string_view withoutBlanksAtEnd(std::string_view line) {
    const std::size_t last = line.find_last_not_of(" \t\r");
    return last == std::string_view::npos ? std::string_view() : line.substr(0, last + 1);
}

[[noreturn]] void throwBroken(const char* what) {
    throw BrokenMarkers(what);
}

std::optional<Place> sectionIn(std::string_view text) {
    Place place;
    bool hasBegun = false;
    bool hasEnded = false;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t lineBreak = text.find('\n', begin);
        const std::size_t next = lineBreak == std::string_view::npos ? text.size() : lineBreak + 1;
        const std::string_view line = withoutBlanksAtEnd(text.substr(begin, next - begin - (lineBreak < next ? 1 : 0)));
        if (line.starts_with(beginMark)) {
            if (hasBegun) {
                throwBroken("the marker of the begin stands there twice");
            }
            hasBegun = true;
            place.begin = begin;
            place.textBegin = next;
        } else if (line == endMark) {
            if (!hasBegun || hasEnded) {
                throwBroken(hasEnded ? "the marker of the end stands there twice"
                                     : "there is a marker of the end without one of the begin before it");
            }
            hasEnded = true;
            place.textEnd = begin;
            place.end = next;
        }
        begin = next;
    }
    if (hasBegun && !hasEnded) {
        throwBroken("there is a marker of the begin without one of the end after it");
    }
    return hasBegun ? std::optional(place) : std::nullopt;
}

std::string section(const std::string& text) {
    return std::string(beginMark) + digest(text) + std::string(beginMarkEnd) + '\n' + text + std::string(endMark) +
           '\n';
}

/// What is to stand before a section at the end of a file, so that a blank line separates them.
std::string gapAfter(const std::string& text, std::string_view lineEnd) {
    const std::string plain = withPlainLineEnds(text);
    if (plain.empty() || plain.ends_with("\n\n")) {
        return {};
    }
    return std::string(lineEnd) + (plain.ends_with('\n') ? "" : std::string(lineEnd));
}

} // namespace

std::vector<Skill> skills() {
    constexpr std::array names{"dw-publish", "dw-logs", "dw-rollback", "dw-share", "dw-libs", "dw-linked-folder"};
    std::vector<Skill> result;
    for (const char* name : names) {
        result.push_back({name, resource(name)});
    }
    return result;
}

std::string agentGuide(const std::optional<std::string>& platform) {
    std::string guide = resource("guide");
    if (platform) {
        guide += "\nThis folder was prepared for the platform `" + *platform +
                 "`.\n`dw host` prints the one in use, and `DW_HOST` chooses another for a single command.\n";
    }
    return guide;
}

const char* stateWord(Renewal::State state) {
    switch (state) {
    case Renewal::State::Written:
        return "written";
    case Renewal::State::Renewed:
        return "renewed";
    case Renewal::State::Unchanged:
        return "unchanged";
    case Renewal::State::Kept:
        return "kept";
    }
    Q_UNREACHABLE();
}

Renewal renewedFile(const std::optional<std::string>& present, const std::string& text) {
    const std::string wanted = marked(text);
    if (!present) {
        return {Renewal::State::Written, wanted};
    }
    const std::string plain = withPlainLineEnds(*present);
    if (plain == wanted) {
        return {Renewal::State::Unchanged};
    }
    const Split parts = split(plain);
    const bool isOurs = parts.lastLine == std::string(fileMark) + digest(parts.before) + std::string(fileMarkEnd);
    return isOurs ? Renewal{Renewal::State::Renewed, withLineEnds(wanted, lineEndOf(*present))}
                  : Renewal{Renewal::State::Kept};
}

Renewal withSection(const std::optional<std::string>& present, const std::string& text) {
    const std::string before = present.value_or(std::string());
    const std::string_view lineEnd = lineEndOf(before);
    const std::string wanted = section(text);
    const std::optional<Place> place = sectionIn(before);
    if (!place) {
        return {Renewal::State::Written, before + gapAfter(before, lineEnd) + withLineEnds(wanted, lineEnd)};
    }
    const std::string now = withPlainLineEnds(before.substr(place->begin, place->end - place->begin));
    if (now == wanted) {
        return {Renewal::State::Unchanged};
    }
    const std::string ours = withPlainLineEnds(before.substr(place->textBegin, place->textEnd - place->textBegin));
    if (!now.starts_with(std::string(beginMark) + digest(ours))) {
        return {Renewal::State::Kept};
    }
    return {Renewal::State::Renewed,
            before.substr(0, place->begin) + withLineEnds(wanted, lineEnd) + before.substr(place->end)};
}

} // namespace driftwell::dw
