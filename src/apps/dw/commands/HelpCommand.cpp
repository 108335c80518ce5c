#include "apps/dw/Command.h"
#include "apps/dw/JsonSchema.h"
#include "apps/dw/Manual.h"
#include "apps/dw/Program.h"
#include "apps/dw/Reference.h"

namespace driftwell::dw {

namespace {

constexpr const char* jsonTopic = "json";

} // namespace

class HelpCommand final : public TextCommand {
public:
    void define(Definition& command) override {
        OptionRecord reference{"--reference", "", "Print the page docs/dw-reference.md"};
        reference.hidden = true;
        OptionRecord manual{"--man", "", "Print the manual page"};
        manual.hidden = true;
        command.command("help", "Print help, for all commands or for one", CommandGroup::Start)
            .argument(
                {"COMMAND", "The command, or json for what --json prints", {Candidates::Kind::Commands, {jsonTopic}}},
                m_topic)
            .flag(reference, m_reference)
            .flag(manual, m_manual)
            .exclude("--reference", "--man")
            .example("dw help deploy", "Print what deploy takes")
            .example("dw help", "Print all commands, variables and exit codes")
            .example("dw help json", "Print what every command prints with --json, as a JSON Schema");
    }

    std::string text(const Program& program) const override {
        if (m_reference) {
            return referencePage(program.record());
        }
        if (m_manual) {
            return manualPage(program.record());
        }
        if (m_topic == jsonTopic) {
            return jsonSchemaDocument(program.record());
        }
        return m_topic.empty() ? program.help() : program.help(m_topic);
    }

private:
    std::string m_topic;
    bool m_reference = false;
    bool m_manual = false;
};

template std::unique_ptr<Command> makeCommand<HelpCommand>();

} // namespace driftwell::dw
