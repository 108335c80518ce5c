#include "apps/sandbox/Options.h"

#include "apps/sandbox/DataFolder.h"
#include "apps/sandbox/Text.h"

#include <CLI/CLI.hpp>

#include <string>

namespace driftwell::sandbox {

namespace {

constexpr int wrongUsage = 2;

constexpr const char* description =
    "A whole Driftwell platform on this machine: to try the product on, to demonstrate it, and to test against.\n"
    "It is for one machine and its one user. It listens on loopback only, its people are made up, and whoever can\n"
    "reach it may act as any of them. A team runs a real platform.";

constexpr const char* footer =
    "\nWhen it is ready it prints one line, \"Driftwell sandbox: http://driftwell.localhost:PORT\". A site NAME is at\n"
    "http://NAME.driftwell.localhost:PORT/. SIGINT and SIGTERM end it.\n"
    "Exit status: 0 after a signal, 1 when it cannot start, 2 for wrong usage.";

/// The option parser would take "-1" for a very large number.
std::string wholeNumber(const std::string& text) {
    return decimal(text) ? std::string() : "\"" + text + "\" is not a whole number";
}

} // namespace

std::variant<Options, int> parseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app(description, "driftwell-sandbox");
    app.footer(footer);
    app.set_version_flag("--version", std::string("driftwell-sandbox ") + DRIFTWELL_VERSION);

    std::string data;
    bool requireSignIn = false;
    app.add_option("--port", options.port, "The port to listen on; 0 takes a free one (default: 8787)")
        ->check(CLI::Range(0, 65535))
        ->option_text("PORT");
    app.add_option("--data", data,
                   "The folder to keep everything in (default: $XDG_DATA_HOME/driftwell-sandbox or "
                   "~/.local/share/driftwell-sandbox)")
        ->option_text("DIR");
    app.add_flag("--require-sign-in", requireSignIn,
                 "Ask for a bearer token, and for a sign-in on sites that are not public. Without it everybody is the "
                 "first of the demo people");

    auto& limits = options.limits;
    app.add_option("--max-upload", limits.upload, "The largest archive or push taken (default: 4 GiB)")
        ->check(wholeNumber)
        ->option_text("BYTES")
        ->group("Limits");
    app.add_option("--max-unpacked", limits.unpacked.bytes,
                   "The most that an archive or push may unpack to (default: 8 GiB)")
        ->check(wholeNumber)
        ->option_text("BYTES")
        ->group("Limits");
    app.add_option("--max-files", limits.unpacked.files,
                   "The most files and folders in an archive or push (default: 500000)")
        ->check(wholeNumber)
        ->option_text("N")
        ->group("Limits");

    auto& switches = options.switches;
    std::int64_t delay = 0;
    constexpr std::int64_t longestDelay = 24LL * 60 * 60 * 1000;
    app.add_option("--delay", delay, "Wait this many milliseconds before each answer")
        ->check(CLI::Range(std::int64_t{0}, longestDelay))
        ->option_text("MS")
        ->group("Misbehave");
    app.add_option("--fail", switches.failStatus, "Answer with this HTTP status (400 to 599) and an error body")
        ->check(CLI::Range(400, 599))
        ->option_text("STATUS")
        ->group("Misbehave");
    app.add_option("--cut", switches.cutAnswer, "Cut the connection after this many bytes of the answer, head included")
        ->check(wholeNumber)
        ->option_text("BYTES")
        ->group("Misbehave");
    app.add_option("--cut-upload", switches.cutUpload,
                   "Cut the connection after this many bytes of a request's body have been read")
        ->check(wholeNumber)
        ->option_text("BYTES")
        ->group("Misbehave");
    app.add_option("--race-pushes", options.races,
                   "Before each of the first so many pushes with git, have a colleague change the site's file race.txt")
        ->check(wholeNumber)
        ->option_text("N")
        ->group("Misbehave");
    app.add_option("--fail-path", switches.pathPrefix,
                   "Do all this only to requests whose path begins so (default: /api/)")
        ->option_text("PREFIX")
        ->group("Misbehave");
    app.add_option("--fail-count", switches.count, "Do all this only to the first so many of these requests")
        ->check(wholeNumber)
        ->option_text("N")
        ->group("Misbehave");

    try {
        app.parse(argc, argv);
        options.data = data.empty() ? DataFolder::standardLocation() : std::filesystem::path(data);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUsage;
    }
    options.signIn = requireSignIn ? SignInRule::Everybody : SignInRule::Nobody;
    switches.delay = std::chrono::milliseconds(delay);
    return options;
}

} // namespace driftwell::sandbox
