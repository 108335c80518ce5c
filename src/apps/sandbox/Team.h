#pragma once

#include <span>
#include <string_view>

namespace driftwell::sandbox {

enum class Membership { Team, Outside };

struct Person {
    std::string_view id;
    std::string_view name;
    std::string_view email;
    std::string_view handle;
    Membership membership;
};

/// The demo people. The first is the one whom the sandbox takes for everybody when nobody has to sign in.
[[nodiscard]] std::span<const Person> people();
[[nodiscard]] const Person& localPerson();
/// Nobody when the id is unknown.
[[nodiscard]] const Person* personWithId(std::string_view id);

} // namespace driftwell::sandbox
