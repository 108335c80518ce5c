#include "apps/dw/JsonSchema.h"

#include "apps/dw/JsonValues.h"

namespace driftwell::dw {

namespace {

Json objectSchema(const std::vector<JsonField>& fields);

Json valueSchema(const JsonField& field) {
    switch (field.type) {
    case JsonType::Text:
        return field.words.empty() ? Json{{"type", "string"}} : Json{{"type", "string"}, {"enum", field.words}};
    case JsonType::WholeNumber:
        return {{"type", "integer"}};
    case JsonType::Number:
        return {{"type", "number"}};
    case JsonType::Switch:
        return {{"type", "boolean"}};
    case JsonType::ListOfTexts:
        return {{"type", "array"}, {"items", {{"type", "string"}}}};
    case JsonType::Object:
        return objectSchema(field.fields);
    case JsonType::ListOfObjects:
        return {{"type", "array"}, {"items", objectSchema(field.fields)}};
    }
    Q_UNREACHABLE();
}

Json fieldSchema(const JsonField& field) {
    Json schema = {{"description", field.meaning}};
    if (field.canBeNull) {
        schema["anyOf"] = Json::array({valueSchema(field), Json{{"type", "null"}}});
    } else {
        schema.update(valueSchema(field));
    }
    return schema;
}

Json objectSchema(const std::vector<JsonField>& fields) {
    Json properties = Json::object();
    Json required = Json::array();
    for (const JsonField& field : fields) {
        properties[field.key] = fieldSchema(field);
        if (!field.canBeMissing) {
            required.push_back(field.key);
        }
    }
    return {{"type", "object"},
            {"properties", std::move(properties)},
            {"required", std::move(required)},
            {"additionalProperties", false}};
}

/// An object that is printed, with what all of them begin with.
Json printedSchema(bool ok, const std::vector<JsonField>& fields) {
    Json inner = objectSchema(fields);
    Json properties = {
        {"ok", {{"description", ok ? "the command has succeeded" : "the command has failed"}, {"const", ok}}},
        {"schema", {{"description", "the version of this description"}, {"const", jsonSchemaVersion}}}};
    properties.update(inner["properties"]);
    Json required = Json::array({"ok", "schema"});
    required.insert(required.end(), inner["required"].begin(), inner["required"].end());
    inner["properties"] = std::move(properties);
    inner["required"] = std::move(required);
    return inner;
}

Json commandSchema(const CommandRecord& command) {
    Json forms = Json::array();
    for (const ObjectRecord& object : command.objects) {
        Json form = {{"description", object.when.empty() ? command.description : object.when}};
        form.update(printedSchema(true, object.fields()));
        forms.push_back(std::move(form));
    }
    if (forms.size() == 1) {
        return forms.front();
    }
    return {{"description", command.description}, {"oneOf", std::move(forms)}};
}

} // namespace

std::string jsonSchemaDocument(const ProgramRecord& program) {
    Json definitions = Json::object();
    for (const CommandRecord& command : program.commands) {
        if (!command.objects.empty()) {
            definitions[command.name] = commandSchema(command);
        }
    }
    definitions["failure"] = {{"description", "What every command prints that fails"}};
    definitions["failure"].update(printedSchema(false, program.failure()));
    Json any = Json::array();
    for (const auto& [name, definition] : definitions.items()) {
        any.push_back({{"$ref", "#/$defs/" + name}});
    }
    const Json document = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                           {"title", "What " + program.name + " prints with --json"},
                           {"anyOf", std::move(any)},
                           {"$defs", std::move(definitions)}};
    constexpr int indentation = 2;
    return document.dump(indentation) + '\n';
}

} // namespace driftwell::dw
