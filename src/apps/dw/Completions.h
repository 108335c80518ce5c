#pragma once

#include "apps/dw/CommandTree.h"

#include <string>

/// The completion scripts of the shells. Each is made of what the program tells of itself.
namespace driftwell::dw {

[[nodiscard]] std::string bashCompletion(const ProgramRecord& program);
[[nodiscard]] std::string zshCompletion(const ProgramRecord& program);
[[nodiscard]] std::string fishCompletion(const ProgramRecord& program);

/// The names of all commands, each once, and behind them the others.
[[nodiscard]] std::vector<std::string> commandNames(const ProgramRecord& program,
                                                    const std::vector<std::string>& others = {});

/// All words for a command.
[[nodiscard]] std::vector<std::string> wordsFor(const CommandRecord& command);

/// "share:--mode", "rm:--confirm": all words for the command with all names of its option.
[[nodiscard]] std::vector<std::string> valuePatterns(const CommandRecord& command, const OptionRecord& option);

/// Texts with a separator between them.
[[nodiscard]] std::string joined(const std::vector<std::string>& texts, const std::string& separator);

/// A text within apostrophes, with `apostrophe` in place of each of its own.
[[nodiscard]] std::string quoted(const std::string& text, const std::string& apostrophe);

} // namespace driftwell::dw
