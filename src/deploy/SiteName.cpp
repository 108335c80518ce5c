#include "deploy/SiteName.h"

#include <algorithm>

namespace driftwell::SiteName {

namespace {

bool isLetterOrDigit(QChar character) {
    return (character >= u'a' && character <= u'z') || (character >= u'0' && character <= u'9');
}

bool isAllowed(QChar character) {
    return isLetterOrDigit(character) || character == u'-';
}

bool becomesDash(QChar character) {
    return character == u' ' || character == u'_' || character == u'.' || character == u'-';
}

} // namespace

std::string folderName(const std::filesystem::path& typed, const std::filesystem::path& resolved) {
    const std::filesystem::path name = typed.has_filename() ? typed.filename() : typed.parent_path().filename();
    return (name.empty() || name == "." || name == ".." ? resolved.filename() : name).string();
}

QString derive(const QString& text) {
    QString name;
    for (const QChar character : text.toLower()) {
        if (isLetterOrDigit(character)) {
            name += character;
        } else if (becomesDash(character) && !name.isEmpty() && !name.endsWith(u'-')) {
            name += u'-';
        }
    }
    if (name.endsWith(u'-')) {
        name.chop(1);
    }
    // The cut comes last, so the 63rd character may be a dash.
    return name.left(maximumLength);
}

Problem problem(QStringView name) {
    if (name.isEmpty()) {
        return Problem::Empty;
    }
    if (std::find(reserved.begin(), reserved.end(), name) != reserved.end()) {
        return Problem::Reserved;
    }
    if (!std::all_of(name.begin(), name.end(), isAllowed)) {
        return Problem::ForbiddenCharacter;
    }
    if (name.startsWith(u'-')) {
        return Problem::BeginsWithDash;
    }
    return name.size() > maximumLength ? Problem::TooLong : Problem::None;
}

bool isValid(QStringView name) {
    return problem(name) == Problem::None;
}

} // namespace driftwell::SiteName
