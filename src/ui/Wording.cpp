#include "ui/Wording.h"

#include <algorithm>
#include <array>

namespace driftwell {

namespace {

constexpr std::array entries{
    Wording::Entry{u"Reveal Folder in Finder", u"Show Folder in Files"},
    Wording::Entry{u"Choose a folder to publish (⌘D)", u"Choose a folder to publish (Ctrl+D)"},
    Wording::Entry{u"⌘0", u"Ctrl+0"},
    Wording::Entry{u"Set up your Mac", u"Set up your computer"},
    Wording::Entry{u"Command Line Tools", u"Git"},
    Wording::Entry{u"Editing projects together syncs folders with git, which ships in Apple’s free Command Line Tools.",
                   u"Editing projects together syncs folders with git, a small free package."},
    Wording::Entry{u"Waiting for Apple’s installer…", u"Waiting for the installer…"},
    Wording::Entry{u"Working on shared projects needs Apple’s Command Line Tools (a small free download). Apple’s "
                   u"installer takes over from here; come back and press “Check again” when it finishes.",
                   u"Working on shared projects needs git (a small free package). The system’s installer takes over "
                   u"from here; come back and press “Check again” when it finishes."},
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
