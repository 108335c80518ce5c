#include "apps/dw/Definition.h"

#include "apps/dw/CommandFailure.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace driftwell::dw {

namespace {

/// The parser ends with the words of what `read` threw.
std::function<void(const std::string&)> withParserErrors(std::function<void(const std::string&)> read) {
    return [read = std::move(read)](const std::string& typed) {
        try {
            read(typed);
        } catch (const WrongUsage& wrong) {
            throw CLI::ValidationError(wrong.message().toStdString());
        }
    };
}

/// As the parser takes them.
std::string namesOf(const OptionRecord& option) {
    return option.shortName.empty() ? option.name : option.shortName + ',' + option.name;
}

/// "team, restricted or public"
std::string alternatives(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) {
            text += i + 1 == words.size() ? " or " : ", ";
        }
        text += words[i];
    }
    return text;
}

} // namespace

Definition::Definition(CLI::App& program, CommandRecord& record, bool& json)
    : m_program(program), m_record(record), m_json(json) {}

Definition& Definition::command(const char* name, const char* description, CommandGroup group) {
    m_command = m_program.add_subcommand(name, description);
    m_record.name = name;
    m_record.description = description;
    m_record.group = group;
    m_record.options.push_back({"--help", "", "Print this help", {}, "-h"});
    return *this;
}

Definition& Definition::alias(const char* name) {
    m_command->alias(name);
    m_record.aliases.emplace_back(name);
    return *this;
}

Definition& Definition::argument(ArgumentRecord argument, std::optional<std::string>& value) {
    CLI::Option* const added = m_command->add_option(argument.name, value, argument.description);
    return keep(*added, std::move(argument));
}

Definition& Definition::argument(ArgumentRecord argument, std::string& value) {
    CLI::Option* const added = m_command->add_option(argument.name, value, argument.description);
    return keep(*added, std::move(argument));
}

Definition& Definition::arguments(ArgumentRecord argument, std::vector<std::string>& values) {
    CLI::Option* const added = m_command->add_option(argument.name, values, argument.description)
                                   ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    argument.repeatable = true;
    return keep(*added, std::move(argument));
}

Definition& Definition::site(std::string& value) {
    return argument({"SITE", "The site", {Candidates::Kind::Sites}, "a site"}, value);
}

Definition& Definition::optionalSite(std::optional<std::string>& value) {
    return argument(
        {"SITE", "The site (default: the one the present folder was published as)", {Candidates::Kind::Sites}}, value);
}

Definition& Definition::option(OptionRecord option, std::optional<std::string>& value) {
    CLI::Option* const added = m_command->add_option(namesOf(option), value, option.description);
    return keep(*added, std::move(option));
}

Definition& Definition::option(OptionRecord option, std::function<void(const std::string&)> read) {
    CLI::Option* const added = m_command->add_option_function<std::string>(
        namesOf(option), withParserErrors(std::move(read)), option.description);
    return keep(*added, std::move(option));
}

Definition& Definition::choice(OptionRecord option, std::function<void(const std::string&)> read) {
    const auto check = [name = option.name, words = option.candidates.words,
                        read = std::move(read)](const std::string& typed) {
        if (std::find(words.begin(), words.end(), typed) == words.end()) {
            throw WrongUsage(QString::fromStdString(name + " takes " + alternatives(words) + ", not “" + typed + "”"));
        }
        read(typed);
    };
    return this->option(std::move(option), check);
}

Definition& Definition::repeatable(OptionRecord option, std::vector<std::string>& values) {
    CLI::Option* const added = m_command->add_option(namesOf(option), values, option.description)
                                   ->option_text(option.value)
                                   ->allow_extra_args(false)
                                   ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    option.repeatable = true;
    return keep(*added, std::move(option));
}

Definition& Definition::flag(OptionRecord option, bool& value) {
    CLI::Option* const added = m_command->add_flag(namesOf(option), value, option.description)->disable_flag_override();
    return keep(*added, std::move(option));
}

Definition& Definition::quiet(bool& value) {
    return flag({"--quiet", "", "Say nothing but what is asked for and what fails", {}, "-q"}, value);
}

Definition& Definition::verbose(bool& value) {
    return flag({"--verbose", "", "Tell of each request and each run of git, without the token", {}, "-v"}, value);
}

Definition& Definition::object(ObjectRecord object) {
    m_record.objects.push_back(std::move(object));
    if (m_record.objects.size() > 1) {
        return *this;
    }
    return flag({"--json", "", "Print one JSON object instead of text"}, m_json);
}

Definition& Definition::exclude(const char* one, const char* other) {
    for (OptionRecord& option : m_record.options) {
        if (option.name == one || option.name == other) {
            option.excludes.emplace_back(option.name == one ? other : one);
        }
    }
    return *this;
}

Definition& Definition::variable(const char* name, const char* meaning) {
    m_record.environment.push_back({name, meaning});
    return *this;
}

Definition& Definition::example(const char* line, const char* meaning) {
    m_record.examples.push_back({line, meaning});
    return *this;
}

Definition& Definition::keep(CLI::Option& added, ArgumentRecord argument) {
    added.type_name("")->required(!argument.need.empty());
    m_record.arguments.push_back(std::move(argument));
    return *this;
}

Definition& Definition::keep(CLI::Option& added, OptionRecord option) {
    if (!option.value.empty()) {
        added.type_name(option.value);
    }
    if (option.hidden) {
        added.group("");
    }
    m_record.options.push_back(std::move(option));
    return *this;
}

} // namespace driftwell::dw
