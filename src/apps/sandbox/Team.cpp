#include "apps/sandbox/Team.h"

#include <algorithm>
#include <array>

namespace driftwell::sandbox {

namespace {

constexpr std::array<Person, 4> demoPeople = {{
    {"person-maya", "Maya Lindqvist", "maya.lindqvist@driftwell.example", "maya", Membership::Team},
    {"person-tomas", "Tomás Reyes", "tomas.reyes@driftwell.example", "tomas", Membership::Team},
    {"person-ines", "Inès Okafor", "ines.okafor@driftwell.example", "ines", Membership::Team},
    {"person-sam", "Sam Whitlock", "sam@elsewhere.example", "sam", Membership::Outside},
}};

} // namespace

std::span<const Person> people() {
    return demoPeople;
}

const Person& localPerson() {
    return demoPeople.front();
}

const Person* personWithId(std::string_view id) {
    const auto found =
        std::find_if(demoPeople.begin(), demoPeople.end(), [id](const Person& person) { return person.id == id; });
    return found == demoPeople.end() ? nullptr : &*found;
}

} // namespace driftwell::sandbox
