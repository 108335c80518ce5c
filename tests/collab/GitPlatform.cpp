#include "tests/collab/GitPlatform.h"

#include <array>
#include <cstdio>
#include <stdexcept>

namespace driftwell::tests {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char character : text) {
        result += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return result + "'";
}

std::string outputOf(const std::string& script) {
    FILE* pipe = ::popen(script.c_str(), "re");
    if (pipe == nullptr) {
        throw std::runtime_error("no shell for: " + script);
    }
    std::string output;
    std::array<char, 4096> block{};
    for (std::size_t got = 0; (got = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
        output.append(block.data(), got);
    }
    if (::pclose(pipe) != 0) {
        throw std::runtime_error("failed: " + script + "\n" + output);
    }
    return output;
}

/// The status line and headers of HTTP from those of the CGI (RFC 3875, section 6).
std::string httpAnswer(const std::string& fromBackend) {
    const std::size_t end = fromBackend.find("\r\n\r\n");
    const std::string head = fromBackend.substr(0, end) + "\r\n";
    const std::string body = end == std::string::npos ? std::string() : fromBackend.substr(end + 4);
    const std::string key = "Status: ";
    const std::size_t at = head.find(key);
    const std::string status =
        at == std::string::npos ? "200 OK" : head.substr(at + key.size(), head.find("\r\n", at) - at - key.size());
    return "HTTP/1.1 " + status + "\r\n" + head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

ScriptedServer::Options serving() {
    ScriptedServer::Options options;
    options.further = ScriptedServer::Further::LastScript;
    options.keptBodyBytes = std::size_t{16} * 1024 * 1024;
    return options;
}

} // namespace

std::string asTeammate(const std::filesystem::path& folder, const std::string& script) {
    return outputOf("cd " + quoted(folder.string()) +
                    " && export GIT_AUTHOR_NAME='Tea Mate' GIT_AUTHOR_EMAIL=tea@example.org"
                    " GIT_COMMITTER_NAME='Tea Mate' GIT_COMMITTER_EMAIL=tea@example.org && exec 2>&1 && " +
                    script);
}

GitPlatform::GitPlatform()
    : m_server({[this](ServerConnection& connection) {
                   serve(connection);
               }},
               serving()) {}

void GitPlatform::addEmptySite(const std::string& site) const {
    asTeammate(m_folder.path(), "git init --quiet --bare -b main " + quoted(site) + " && git -C " + quoted(site) +
                                    " config http.receivepack true");
}

void GitPlatform::addSite(const std::string& site, const std::string& makeFiles) const {
    addEmptySite(site);
    push(site, makeFiles);
}

void GitPlatform::push(const std::string& site, const std::string& script) const {
    const TestFolder copy;
    asTeammate(copy.path(),
               "git clone --quiet " + quoted(repository(site).string()) + " copy && cd copy && { " + script +
                   "; } && git add -A && git commit --quiet -m 'A teammate' && git push --quiet origin HEAD:main");
}

std::string GitPlatform::head(const std::string& site) const {
    std::string head = asTeammate(repository(site), "git rev-parse main");
    head.pop_back();
    return head;
}

std::string GitPlatform::file(const std::string& site, const std::string& path) const {
    return asTeammate(repository(site), "git show main:" + quoted(path));
}

void GitPlatform::serve(ServerConnection& connection) const {
    for (;;) {
        connection.readHead();
        if (connection.request().header("Content-Length") != "(none)") {
            connection.readBody();
        }
        connection.send(answerTo(connection.request()));
    }
}

std::string GitPlatform::answerTo(const RecordedRequest& request) const {
    if (request.header("Authorization") != std::string("Bearer ") + token) {
        return answer("401 Unauthorized", "Sign in first.");
    }
    if (request.method == "POST" && request.target.ends_with("/git-receive-pack") && m_beforePush) {
        m_beforePush();
    }
    return backendsAnswer(request);
}

std::string GitPlatform::backendsAnswer(const RecordedRequest& request) const {
    const std::size_t question = request.target.find('?');
    const std::string path = request.target.substr(0, question);
    const std::string prefix = "/git/";
    if (!path.starts_with(prefix)) {
        return answer("404 Not Found", "");
    }
    const auto header = [&request](const char* name) {
        const std::string value = request.header(name);
        return value == "(none)" ? std::string() : value;
    };
    const TestFolder scratch;
    scratch.write("body", request.body);
    return httpAnswer(
        outputOf("env -i PATH=/usr/bin:/bin GIT_HTTP_EXPORT_ALL=1 REMOTE_USER=member GIT_PROJECT_ROOT=" +
                 quoted(m_folder.path().string()) + " PATH_INFO=" + quoted("/" + path.substr(prefix.size())) +
                 " QUERY_STRING=" + quoted(question == std::string::npos ? "" : request.target.substr(question + 1)) +
                 " REQUEST_METHOD=" + quoted(request.method) + " CONTENT_TYPE=" + quoted(header("Content-Type")) +
                 " CONTENT_LENGTH=" + std::to_string(request.body.size()) + " HTTP_CONTENT_ENCODING=" +
                 quoted(header("Content-Encoding")) + " GIT_PROTOCOL=" + quoted(header("Git-Protocol")) +
                 " git http-backend 2>/dev/null < " + quoted(scratch / "body")));
}

} // namespace driftwell::tests
