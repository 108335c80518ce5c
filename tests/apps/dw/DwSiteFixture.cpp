#include "tests/apps/dw/DwSiteFixture.h"

namespace driftwell::tests {

using nlohmann::json;

DwSiteFixture::DwSiteFixture(std::vector<std::string> sandboxOptions) : sandbox(std::move(sandboxOptions)) {
    useHost(sandbox.address());
}

void DwSiteFixture::publish(const std::string& name, const std::string& page) const {
    folder(name, {{"index.html", page}});
    const Ending ending = runDw({"deploy", name, "--name", name});
    ASSERT_EQ(ending.exitCode, 0) << ending.error;
}

std::string DwSiteFixture::addressOf(const std::string& site) const {
    return "http://" + site + ".driftwell.localhost:" + sandbox.port() + "/";
}

json DwSiteFixture::record(const std::string& site) const {
    for (const json& entry : sandbox.sites()) {
        if (entry.at("name") == site) {
            return entry;
        }
    }
    return nullptr;
}

void DwSiteFixture::expectFailure(const std::vector<std::string>& arguments, int exitCode, const std::string& kind,
                                  const std::string& message, const std::string& hint) const {
    const Ending ending = runDw(arguments);
    EXPECT_EQ(ending.exitCode, exitCode);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, failureText(kind, message, hint));

    std::vector<std::string> withJson = arguments;
    withJson.emplace_back("--json");
    const Ending jsonEnding = runDw(withJson);
    EXPECT_EQ(jsonEnding.exitCode, exitCode);
    EXPECT_EQ(jsonEnding.error, "");
    const json object = onlyObject(jsonEnding.output);
    // Who was asked and what was answered differ from platform to platform; see DwErrorsTest.cpp.
    json more = json::object();
    for (const char* detail : {"host", "status", "retryAfter"}) {
        if (object.at("error").contains(detail)) {
            more[detail] = object.at("error").at(detail);
        }
    }
    EXPECT_EQ(object, failureObject(kind, message, hint, more));
}

Invocation onTerminal(Invocation invocation, unsigned short columns) {
    invocation.terminal = Invocation::Terminal::All;
    invocation.columns = columns;
    return invocation;
}

std::function<bool()> hasShown(const Program& program, std::string text) {
    return [&program, text = std::move(text)] {
        return program.soFar().terminal.find(text) != std::string::npos;
    };
}

} // namespace driftwell::tests
