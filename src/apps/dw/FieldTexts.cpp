#include "apps/dw/FieldTexts.h"

#include <QtGlobal>

namespace driftwell::dw {

namespace {

const char* typeWord(JsonType type) {
    switch (type) {
    case JsonType::Text:
        return "text";
    case JsonType::WholeNumber:
        return "whole number";
    case JsonType::Number:
        return "number";
    case JsonType::Switch:
        return "true or false";
    case JsonType::ListOfTexts:
        return "list of texts";
    case JsonType::Object:
        return "object";
    case JsonType::ListOfObjects:
        return "list of objects";
    }
    Q_UNREACHABLE();
}

} // namespace

std::string typeText(const JsonField& field) {
    std::string text = typeWord(field.type);
    if (field.canBeNull) {
        text += field.type == JsonType::Switch ? ", or null" : " or null";
    }
    return text + (field.canBeMissing ? ", may be missing" : "");
}

std::string meaningText(const JsonField& field) {
    std::string text = field.meaning;
    for (std::size_t i = 0; i < field.words.size(); ++i) {
        const bool isLast = i + 1 == field.words.size();
        text += (i == 0 ? ": `" : isLast ? " or `" : ", `") + field.words[i] + '`';
    }
    return text;
}

} // namespace driftwell::dw
