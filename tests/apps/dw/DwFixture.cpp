#include "tests/apps/dw/DwFixture.h"

#include "apps/dw/ErrorKind.h"
#include "tests/support/SampleText.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace driftwell::tests {

using nlohmann::json;

DwFixture::DwFixture() {
    std::filesystem::create_directories(m_folder / "home");
    std::filesystem::create_directories(m_folder / "tmp");
    m_environment = {{"HOME", home()},
                     {"TMPDIR", m_folder / "tmp"},
                     {"PATH", "/usr/bin:/bin"},
                     {"LC_ALL", "C.UTF-8"},
                     {"TERM", "xterm-256color"}};
}

Invocation DwFixture::dw(std::vector<std::string> arguments) const {
    Invocation invocation;
    invocation.command = {DRIFTWELL_DW};
    invocation.command.insert(invocation.command.end(), arguments.begin(), arguments.end());
    invocation.environment = m_environment;
    invocation.folder = home();
    return invocation;
}

Ending DwFixture::run(const Invocation& invocation) {
    return Program(invocation).waitForEnd();
}

std::string DwFixture::toldAddress(Program& program, const std::string& beginning) {
    std::string address;
    program.waitUntil([&] {
        const std::string told = program.soFar().error + program.soFar().terminal;
        const std::size_t begin = told.find(beginning);
        const std::size_t end = begin == std::string::npos ? begin : told.find_first_of("\r\n", begin);
        address = end == std::string::npos ? std::string() : told.substr(begin, end - begin);
        return !address.empty();
    });
    return address;
}

std::vector<std::string> DwFixture::listedCommands() const {
    const std::vector<std::string> help = linesOf(runDw({"help"}).output);
    std::vector<std::string> commands;
    const auto end = std::find(help.begin(), help.end(), "Environment:");
    for (auto line = std::find(help.begin(), help.end(), "Start:"); line < end; ++line) {
        if (line->starts_with("  ")) {
            commands.push_back(line->substr(2, line->find_first_of(", ", 2) - 2));
        }
    }
    return commands;
}

std::vector<std::string> DwFixture::listedOptions(const std::string& command) const {
    std::vector<std::string> options;
    for (const std::string& line : linesOf(runDw({"help", command}).output)) {
        if (line.starts_with("  -")) {
            const std::size_t name = line.find("--");
            options.push_back(line.substr(name, line.find(' ', name) - name));
        }
    }
    return options;
}

void DwFixture::setVariable(const std::string& name, const std::string& value) {
    if (value.empty()) {
        m_environment.erase(name);
    } else {
        m_environment[name] = value;
    }
}

std::filesystem::path DwFixture::folder(const std::string& name,
                                        std::initializer_list<std::pair<std::string, std::string>> files) const {
    std::filesystem::create_directories(home() / name);
    for (const auto& [file, content] : files) {
        m_folder.write("home/" + name + '/' + file, content);
    }
    return home() / name;
}

json DwFixture::config() const {
    std::ifstream file(configFile());
    return json::parse(file);
}

std::vector<std::string> DwFixture::temporaryFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder / "tmp")) {
        names.push_back(entry.path().filename());
    }
    return names;
}

std::vector<std::string> DwFixture::ownProcesses() const {
    const std::string mark = "TMPDIR=" + (m_folder / "tmp").string() + '\0';
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "environ", std::ios::binary);
        const std::string environment{std::istreambuf_iterator<char>(file), {}};
        if (('\0' + environment).find('\0' + mark) != std::string::npos) {
            std::string name;
            std::getline(std::ifstream(entry.path() / "comm"), name);
            names.push_back(name);
        }
    }
    return names;
}

void fillForLongPacking(const std::filesystem::path& folder) {
    // Holes take no room on the disk and yet must be read and packed byte by byte.
    constexpr std::uintmax_t size = 4ULL * 1024 * 1024 * 1024;
    for (int i = 0; i < 256; ++i) {
        const std::filesystem::path file = folder / ("large" + std::to_string(i) + ".bin");
        std::ofstream(file).close();
        std::filesystem::resize_file(file, size);
    }
}

json onlyObject(const std::string& output) {
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
    EXPECT_TRUE(output.ends_with('\n')) << output;
    EXPECT_THAT(output, testing::AnyOf(testing::StartsWith(R"({"ok":true,"schema":1)"),
                                       testing::StartsWith(R"({"ok":false,"schema":1,"error":{"kind":)")));
    json object = json::parse(output);
    EXPECT_TRUE(object.is_object()) << output;
    object.erase("schema");
    return object;
}

namespace {

std::string hintOf(const std::string& kind) {
    for (const dw::ErrorKindRecord& record : dw::errorKinds()) {
        if (record.name == kind) {
            return record.hint;
        }
    }
    throw std::runtime_error("no kind of error: " + kind);
}

} // namespace

std::string failureText(const std::string& kind, const std::string& message, const std::string& hint) {
    return "dw: " + message + '\n' + (hint.empty() ? hintOf(kind) : hint) + '\n';
}

json failureObject(const std::string& kind, const std::string& message, const std::string& hint, const json& more) {
    json error{{"kind", kind}, {"message", message}, {"hint", hint.empty() ? hintOf(kind) : hint}};
    error.update(more);
    return {{"ok", false}, {"error", error}};
}

std::vector<std::string> screen(const std::string& received) {
    std::vector<std::string> lines(1);
    std::size_t column = 0;
    for (std::size_t i = 0; i < received.size(); ++i) {
        const char byte = received[i];
        if (byte == '\033') {
            const std::size_t end = received.find_first_of("mK", i);
            if (end == std::string::npos || received.at(i + 1) != '[') {
                throw std::runtime_error("an escape sequence that the tool has no use for: " + received.substr(i));
            }
            if (received[end] == 'K') {
                lines.back().resize(std::min(lines.back().size(), column));
            }
            i = end;
        } else if (byte == '\r') {
            column = 0;
        } else if (byte == '\n') {
            lines.emplace_back();
            column = 0;
        } else {
            lines.back().resize(std::max(lines.back().size(), column + 1));
            lines.back()[column++] = byte;
        }
    }
    if (lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

} // namespace driftwell::tests
