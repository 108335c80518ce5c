#include "apps/dw/ErrorKind.h"
#include "apps/dw/Program.h"
#include "tests/apps/dw/DeafPort.h"
#include "tests/apps/dw/DwFixture.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/SampleText.h"

#include <poll.h>

#include <algorithm>
#include <memory>
#include <set>

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

/// A command line, without --json.
struct Form {
    const dw::CommandRecord* command = nullptr;
    std::vector<std::string> words;
    /// Just what the command cannot do without.
    bool isPlain = true;

    [[nodiscard]] std::string text() const {
        std::string line = "dw";
        for (const std::string& word : words) {
            line += ' ' + word;
        }
        return line;
    }
};

/// What a value of this name is for a command that is meant to work. Empty for a name that is not known here.
std::string valueFor(const std::string& name, const dw::Candidates& candidates) {
    if (candidates.kind == dw::Candidates::Kind::Words) {
        return candidates.words.front();
    }
    static const std::map<std::string, std::string> values{
        {"SITE", "launch"},         {"FOLDER", "site"}, {"NAME", "launch"},  {"N", "5"},       {"LIB", "toast"},
        {"EMAIL", "ann@team.test"}, {"HOST", "other"},  {"COMMAND", "list"}, {"SHELL", "bash"}};
    const auto found = values.find(name);
    return found == values.end() ? std::string() : found->second;
}

/// Without which a command of this name asks a person, or does not know what to do.
const std::map<std::string, std::vector<std::string>> completedBy{{"delete", {"--yes"}},
                                                                  {"login", {"--with-token"}},
                                                                  {"link", {"--name", "launch"}},
                                                                  {"resolve", {"--mine"}},
                                                                  {"open", {"--print"}}};

/// With which a command waits, for what may happen or for a person.
const std::set<std::string> endless{"--follow", "--no-browser"};

bool excludes(const dw::OptionRecord& option, const std::string& other) {
    return std::find(option.excludes.begin(), option.excludes.end(), other) != option.excludes.end();
}

/// The plain form of a command, then that with each of its options.
std::vector<Form> formsOf(const dw::CommandRecord& command) {
    Form plain{&command, {command.name}};
    for (const dw::ArgumentRecord& argument : command.arguments) {
        const bool isFolder = argument.candidates.kind == dw::Candidates::Kind::Folders;
        if (argument.need.empty() && !isFolder && argument.name != "SITE") {
            continue;
        }
        plain.words.push_back(valueFor(argument.name, argument.candidates));
        EXPECT_NE(plain.words.back(), "") << "no value is known for " << argument.name << " of " << command.name;
    }
    const auto completion = completedBy.find(command.name);
    std::vector<Form> forms;
    const auto add = [&](const Form& form, const dw::OptionRecord* option) {
        forms.push_back(form);
        if (completion == completedBy.end()) {
            return;
        }
        const std::vector<std::string>& more = completion->second;
        if (option == nullptr || (option->name != more.front() && !excludes(*option, more.front()))) {
            forms.back().words.insert(forms.back().words.end(), more.begin(), more.end());
        }
    };
    add(plain, nullptr);
    for (const dw::OptionRecord& option : command.options) {
        if (option.name == "--json" || option.name == "--help" || endless.contains(option.name)) {
            continue;
        }
        Form form = plain;
        form.isPlain = false;
        form.words.push_back(option.name);
        if (!option.value.empty()) {
            form.words.push_back(valueFor(option.value, option.candidates));
            EXPECT_NE(form.words.back(), "") << "no value is known for " << option.name << " of " << command.name;
        }
        add(form, &option);
    }
    return forms;
}

bool hasSite(const dw::CommandRecord& command) {
    return std::any_of(command.arguments.begin(), command.arguments.end(), [](const dw::ArgumentRecord& argument) {
        return argument.candidates.kind == dw::Candidates::Kind::Sites;
    });
}

/// Commands of this machine alone: what the platform is like is the same to them.
const std::set<std::string> local{"init", "host", "logout", "token"};
/// Commands that look first at a folder that is linked through git, and here there is none.
const std::set<std::string> aboutLinkedFolders{"status", "update", "resolve"};

} // namespace

/// Every form of every command that has --json, whatever the platform and this machine are like: one object, whose
/// `ok` says what the exit code says, and whose kind and exit code are in the table of kinds.
class DwMatrix : public DwFixture {
protected:
    DwMatrix() {
        folder("site", {{"index.html", "x"}});
        for (const dw::CommandRecord& command : m_program.record().commands) {
            if (!command.objects.empty()) {
                const std::vector<Form> forms = formsOf(command);
                m_forms.insert(m_forms.end(), forms.begin(), forms.end());
            }
        }
    }

    /// With a token on standard input, which nobody can be asked for.
    [[nodiscard]] Invocation start(const Form& form, bool isJson = true) const {
        Invocation invocation = dw({});
        std::vector<std::string> words{"/bin/sh", "-c", R"(echo a-token | "$0" "$@")"};
        words.push_back(invocation.command.front());
        words.insert(words.end(), form.words.begin(), form.words.end());
        if (isJson) {
            words.emplace_back("--json");
        }
        invocation.command = std::move(words);
        return invocation;
    }

    static void expectSound(const Ending& ending) {
        const json object = onlyObject(ending.output);
        EXPECT_EQ(object.value("ok", json()), ending.exitCode == 0);
        if (ending.exitCode == 0) {
            EXPECT_FALSE(object.contains("error"));
            return;
        }
        const json& error = object.at("error");
        EXPECT_THAT(error.at("message").get<std::string>(), testing::Not(testing::IsEmpty()));
        EXPECT_THAT(error.at("hint").get<std::string>(), testing::Not(testing::IsEmpty()));
        const std::string kind = error.at("kind").get<std::string>();
        const auto kinds = dw::errorKinds();
        const auto record = std::find_if(kinds.begin(), kinds.end(),
                                         [&kind](const dw::ErrorKindRecord& known) { return known.name == kind; });
        ASSERT_NE(record, kinds.end()) << kind;
        EXPECT_EQ(static_cast<int>(record->exitCode), ending.exitCode) << kind;
    }

    static std::string kindOf(const Ending& ending) {
        const json object = json::parse(ending.output, nullptr, false);
        return object.is_object() && object.contains("error") ? object["error"].value("kind", "") : "";
    }

    /// All forms; where the platform is the reason, `kind` is what the plain ones that ask it end with.
    void expectEverywhere(const std::string& kind, const std::set<std::string>& untouched = {}) {
        for (const Form& form : m_forms) {
            SCOPED_TRACE(form.text());
            const Ending ending = run(start(form));
            expectSound(ending);
            if (form.isPlain && asksThePlatform(form) && !untouched.contains(form.command->name)) {
                EXPECT_EQ(kindOf(ending), kindFor(form, kind)) << ending.output;
            }
        }
    }

    /// Nobody can sign in with another token than DW_TOKEN while that is set.
    [[nodiscard]] std::string kindFor(const Form& form, const std::string& kind) const {
        return form.command->name == "login" && dw({}).environment.contains("DW_TOKEN") ? "usage" : kind;
    }

    static bool asksThePlatform(const Form& form) {
        return !local.contains(form.command->name) && !aboutLinkedFolders.contains(form.command->name);
    }

    void publishLaunch() const { EXPECT_EQ(runDw({"deploy", "site", "--name", "launch"}).exitCode, 0); }

    [[nodiscard]] std::vector<Form> plainForms() const {
        std::vector<Form> forms;
        std::copy_if(m_forms.begin(), m_forms.end(), std::back_inserter(forms),
                     [](const Form& form) { return form.isPlain; });
        return forms;
    }

    /// A platform that answers whatever it is asked in this way.
    static std::unique_ptr<PlatformServer> answering(int status, const std::string& body) {
        auto server = std::make_unique<PlatformServer>();
        server->passOn("/api", [status, body](const RecordedRequest&) {
            return tests::answer(std::to_string(status) + " Because", body, "Content-Type: application/json\r\n");
        });
        return server;
    }

    const dw::Program m_program;
    std::vector<Form> m_forms;
};

TEST_F(DwMatrix, HasAFormOfEachCommandThatIsListed) {
    std::set<std::string> names;
    for (const Form& form : m_forms) {
        names.insert(form.command->name);
    }
    for (const std::string& command : listedCommands()) {
        if (command != "help" && command != "completion") {
            EXPECT_THAT(names, Contains(command));
        }
    }
    EXPECT_GT(m_forms.size(), 2 * names.size());
}

TEST_F(DwMatrix, WithoutAPlatform) {
    expectEverywhere("noHost");
}

TEST_F(DwMatrix, WithoutAToken) {
    const Sandbox sandbox({"--require-sign-in"});
    useHost(sandbox.remoteAddress());
    expectEverywhere("unauthenticated");
}

TEST_F(DwMatrix, WithATokenThatIsRefused) {
    const Sandbox sandbox({"--require-sign-in"});
    useHost(sandbox.remoteAddress());
    setVariable("DW_TOKEN", "of-nobody");
    expectEverywhere("unauthenticated");
}

TEST_F(DwMatrix, WithATokenOfSomebodyWhoIsNotOnTheTeam) {
    const Sandbox sandbox({"--require-sign-in"});
    useHost(sandbox.remoteAddress());
    setVariable("DW_TOKEN", sandbox.signIn("sam"));
    expectEverywhere("notTeam", {"whoami", "info"});
}

TEST_F(DwMatrix, WithAPlatformThatCannotBeReached) {
    const DeafPort deaf;
    useHost("http://127.0.0.1:" + deaf.port());
    setVariable("DW_TOKEN", "any");
    expectEverywhere("unreachable");
}

TEST_F(DwMatrix, WithAPlatformThatDoesNotAnswer) {
    const Gate never;
    PlatformServer server;
    server.passOn("/api", [&never](const RecordedRequest&) -> std::string {
        pollfd wait{never.descriptor(), POLLIN, 0};
        static_cast<void>(::poll(&wait, 1, -1));
        return "";
    });
    useHost(server.origin());
    setVariable("DW_TOKEN", "any");
    // Each waits for as long as the product does, so all of them at once.
    const std::vector<Form> forms = plainForms();
    std::vector<std::unique_ptr<Program>> programs;
    for (const Form& form : forms) {
        programs.push_back(std::make_unique<Program>(start(form)));
    }
    for (std::size_t i = 0; i < forms.size(); ++i) {
        SCOPED_TRACE(forms[i].text());
        const Ending ending = programs[i]->waitForEnd();
        expectSound(ending);
        if (asksThePlatform(forms[i])) {
            EXPECT_EQ(kindOf(ending), kindFor(forms[i], "timedOut")) << ending.output;
        }
    }
    never.open();
}

TEST_F(DwMatrix, WithAPlatformThatAnswersOddly) {
    const std::string tooDeep = std::string(2000, '[') + std::string(2000, ']');
    for (const std::string& body : {std::string("<html>Welcome</html>"), std::string("{\"sites\":3}"), tooDeep}) {
        SCOPED_TRACE(body.substr(0, 30));
        const auto server = answering(200, body);
        useHost(server->origin());
        setVariable("DW_TOKEN", "any");
        expectEverywhere("api");
    }
}

TEST_F(DwMatrix, WithAPlatformThatRefuses) {
    for (const auto& [status, kind] :
         std::vector<std::pair<int, std::string>>{{413, "tooLarge"}, {429, "rateLimited"}, {500, "api"}}) {
        SCOPED_TRACE(status);
        const auto server = answering(status, R"({"error":"Not now"})");
        useHost(server->origin());
        setVariable("DW_TOKEN", "any");
        expectEverywhere(kind);
    }
}

TEST_F(DwMatrix, WithAPasswordInTheAddress) {
    const Sandbox sandbox;
    const DeafPort deaf;
    const auto refusing = answering(401, R"({"error":"no"})");
    for (const std::string& host : {"driftwell.localhost:" + sandbox.port(), "127.0.0.1:" + deaf.port(),
                                    "127.0.0.1:" + std::to_string(refusing->port())}) {
        useHost("http://maya:opensesame@" + host);
        for (const Form& form : plainForms()) {
            for (const bool isJson : {false, true}) {
                SCOPED_TRACE(host + ' ' + form.text());
                Invocation invocation = start(form, isJson);
                invocation.environment["DW_DEBUG"] = "1";
                const Ending ending = run(invocation);
                EXPECT_THAT(ending.output + ending.error, Not(HasSubstr("opensesame")));
            }
        }
    }
}

TEST_F(DwMatrix, WithASiteThatIsNotThere) {
    const Sandbox sandbox;
    useHost(sandbox.address());
    for (const Form& form : m_forms) {
        SCOPED_TRACE(form.text());
        if (hasSite(*form.command)) {
            const Ending ending = run(start(form));
            expectSound(ending);
            EXPECT_EQ(kindOf(ending), "noSite") << ending.output;
        }
    }
}

TEST_F(DwMatrix, WithWordsThatNobodyKnows) {
    for (Form form : m_forms) {
        SCOPED_TRACE(form.text());
        form.words.emplace_back("--no-such-option");
        const Ending ending = run(start(form));
        expectSound(ending);
        EXPECT_EQ(kindOf(ending), "usage");
    }
}

TEST_F(DwMatrix, WithAnOutputThatTakesNothing) {
    const Sandbox sandbox;
    for (const auto output : {Invocation::Output::Closed, Invocation::Output::Full, Invocation::Output::Unread}) {
        for (const Form& form : plainForms()) {
            SCOPED_TRACE(form.text());
            useHost(sandbox.address());
            publishLaunch();
            Invocation invocation = start(form);
            invocation.output = output;
            const Ending ending = run(invocation);
            EXPECT_NE(ending.exitCode, 0);
            EXPECT_LT(ending.exitCode, 10) << "it was ended by a signal: " << ending.error;
            if (output == Invocation::Output::Full) {
                EXPECT_THAT(ending.error, HasSubstr("Could not write to standard output: No space left on device"));
            }
        }
    }
}

} // namespace driftwell::tests
