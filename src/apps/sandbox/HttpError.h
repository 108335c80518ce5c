#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace driftwell::sandbox {

/// A request that is answered with an error. `what()` is the sentence for the person, `code()` the word for a program.
class HttpError : public std::runtime_error {
public:
    HttpError(int status, std::string code, const std::string& message)
        : std::runtime_error(message), m_status(status), m_code(std::move(code)) {}

    [[nodiscard]] int status() const { return m_status; }
    [[nodiscard]] const std::string& code() const { return m_code; }

private:
    int m_status;
    std::string m_code;
};

/// What people outside the team are told wherever they ask about the team's sites.
[[nodiscard]] inline HttpError notOnTheTeam() {
    return {403, "not_team", "Only team members can manage sites"};
}

} // namespace driftwell::sandbox
