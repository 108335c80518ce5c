#pragma once

#include "support/UniqueFd.h"
#include "tests/support/TestFolder.h"

#include <QByteArray>

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace driftwell::tests {

/// An HTTPS server of OpenSSL's own on 127.0.0.1, with a certificate that it signed itself.
class SelfSignedServer {
public:
    enum class Talk {
        Page,      ///< answers every request with a page
        Listening, ///< says nothing; requested() tells what it has heard
        Files,     ///< answers with the file of the path, which holds a whole answer, head and all
    };

    explicit SelfSignedServer(Talk talk = Talk::Page);
    ~SelfSignedServer();
    SelfSignedServer(const SelfSignedServer&) = delete;
    SelfSignedServer& operator=(const SelfSignedServer&) = delete;

    [[nodiscard]] QByteArray url() const { return "https://127.0.0.1:" + m_port + "/"; }
    [[nodiscard]] std::string certificateFile() const { return m_folder / "certificate.pem"; }

    /// Where the files are that it answers with.
    [[nodiscard]] std::filesystem::path files() const { return m_folder / "files"; }

    /// The head of the request that has come. Waits for it.
    [[nodiscard]] std::string requested();

private:
    void start(std::vector<std::string> arguments);
    bool readPort();
    void readOutput();

    TestFolder m_folder;
    UniqueFd m_input;
    UniqueFd m_output;
    pid_t m_pid = -1;
    QByteArray m_text;
    QByteArray m_port;
};

} // namespace driftwell::tests
