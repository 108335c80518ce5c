#include "ui/Wording.h"

#include <algorithm>
#include <array>

namespace driftwell {

namespace {

constexpr std::array entries{
    Wording::Entry{u"Reveal Folder in Finder", u"Show Folder in Files"},
    Wording::Entry{u"Choose a folder to publish (⌘D)", u"Choose a folder to publish (Ctrl+D)"},
    Wording::Entry{u"⌘0", u"Ctrl+0"},
};

} // namespace

std::span<const Wording::Entry> Wording::table() {
    return entries;
}

QString Wording::here(const QString& given) {
    const auto* const found =
        std::find_if(entries.begin(), entries.end(), [&given](const Entry& entry) { return entry.given == given; });
    return found == entries.end() ? given : found->here.toString();
}

} // namespace driftwell
