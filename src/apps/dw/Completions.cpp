#include "apps/dw/Completions.h"

namespace driftwell::dw {

std::vector<std::string> commandNames(const ProgramRecord& program, const std::vector<std::string>& others) {
    std::vector<std::string> names;
    for (const CommandRecord& command : program.commands) {
        names.push_back(command.name);
    }
    names.insert(names.end(), others.begin(), others.end());
    return names;
}

std::vector<std::string> wordsFor(const CommandRecord& command) {
    std::vector<std::string> words = {command.name};
    words.insert(words.end(), command.aliases.begin(), command.aliases.end());
    return words;
}

std::vector<std::string> valuePatterns(const CommandRecord& command, const OptionRecord& option) {
    std::vector<std::string> patterns;
    for (const std::string& word : wordsFor(command)) {
        patterns.push_back(word + ':' + option.name);
        if (!option.shortName.empty()) {
            patterns.push_back(word + ':' + option.shortName);
        }
    }
    return patterns;
}

std::string joined(const std::vector<std::string>& texts, const std::string& separator) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : separator) + text;
    }
    return all;
}

std::string quoted(const std::string& text, const std::string& apostrophe) {
    std::string inside;
    for (const char character : text) {
        inside += character == '\'' ? apostrophe : std::string(1, character);
    }
    return '\'' + inside + '\'';
}

} // namespace driftwell::dw
