#pragma once

#include "apps/dw/CommandTree.h"
#include "apps/dw/JsonValues.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <concepts>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace driftwell::dw {

/// How values of a type stand in an object.
template <class Value> struct JsonValue;

template <> struct JsonValue<bool> {
    static constexpr JsonType type = JsonType::Switch;
    static Json of(bool value) { return value; }
};

template <std::integral Value> struct JsonValue<Value> {
    static constexpr JsonType type = JsonType::WholeNumber;
    static Json of(Value value) { return value; }
};

template <std::floating_point Value> struct JsonValue<Value> {
    static constexpr JsonType type = JsonType::Number;
    static Json of(Value value) { return value; }
};

template <> struct JsonValue<std::string> {
    static constexpr JsonType type = JsonType::Text;
    static Json of(const std::string& value) { return value; }
};

template <> struct JsonValue<const char*> {
    static constexpr JsonType type = JsonType::Text;
    static Json of(const char* value) { return value; }
};

template <> struct JsonValue<QString> {
    static constexpr JsonType type = JsonType::Text;
    static Json of(const QString& value) { return value.toStdString(); }
};

template <> struct JsonValue<std::filesystem::path> {
    static constexpr JsonType type = JsonType::Text;
    static Json of(const std::filesystem::path& value) { return value.string(); }
};

template <> struct JsonValue<std::vector<std::string>> {
    static constexpr JsonType type = JsonType::ListOfTexts;
    static Json of(const std::vector<std::string>& value) { return value; }
};

template <> struct JsonValue<QList<QString>> {
    static constexpr JsonType type = JsonType::ListOfTexts;
    static Json of(const QList<QString>& value) {
        Json list = Json::array();
        for (const QString& text : value) {
            list.push_back(text.toStdString());
        }
        return list;
    }
};

template <class Value> inline constexpr bool isOptional = false;
template <class Value> inline constexpr bool isOptional<std::optional<Value>> = true;

/// The objects of one kind that --json prints, made of records of one type. Written, explained and checked from one
/// place: a field is its key, its meaning, and how it is read from a record, whose type is the type of the field.
template <class Record> class JsonTable {
public:
    /// A text, a number, a switch or a list of texts; or one of these that may be absent, and then is null. `read` is
    /// called with a record, or is a member of it.
    template <class Read> JsonTable& add(const char* key, const char* meaning, Read read) {
        using Result = std::remove_cvref_t<std::invoke_result_t<Read, const Record&>>;
        if constexpr (isOptional<Result>) {
            using Value = JsonValue<typename Result::value_type>;
            return keep({key, Value::type, meaning, true}, [read](const Record& record) {
                const Result value = std::invoke(read, record);
                return value ? Value::of(*value) : Json(nullptr);
            });
        } else {
            using Value = JsonValue<Result>;
            return keep({key, Value::type, meaning},
                        [read](const Record& record) { return Value::of(std::invoke(read, record)); });
        }
    }

    /// An object of another table, also one that may be absent, or a list of such. The other table outlives this one.
    template <class Inner, class Read>
    JsonTable& add(const char* key, const char* meaning, const JsonTable<Inner>& table, Read read) {
        using Result = std::remove_cvref_t<std::invoke_result_t<Read, const Record&>>;
        JsonField field{key, JsonType::Object, meaning};
        field.fields = table.fields();
        if constexpr (std::same_as<Result, Inner>) {
            return keep(std::move(field),
                        [read, &table](const Record& record) { return table.object(std::invoke(read, record)); });
        } else if constexpr (isOptional<Result>) {
            field.canBeNull = true;
            return keep(std::move(field), [read, &table](const Record& record) {
                const Result inner = std::invoke(read, record);
                return inner ? table.object(*inner) : Json(nullptr);
            });
        } else {
            field.type = JsonType::ListOfObjects;
            return keep(std::move(field), [read, &table](const Record& record) {
                Json list = Json::array();
                for (const Inner& inner : std::invoke(read, record)) {
                    list.push_back(table.object(inner));
                }
                return list;
            });
        }
    }

    /// Of the text that was added last: these are all the values that it has.
    JsonTable& words(std::vector<std::string> all) {
        m_fields.back().words = std::move(all);
        return *this;
    }

    /// Of what was added last and can be null: it is left out then.
    JsonTable& leftOutIfNull() {
        m_fields.back().canBeNull = false;
        m_fields.back().canBeMissing = true;
        return *this;
    }

    [[nodiscard]] const std::vector<JsonField>& fields() const { return m_fields; }

    /// The object, its keys in the order in which they were added.
    [[nodiscard]] Json object(const Record& record) const {
        Json object = Json::object();
        for (std::size_t i = 0; i < m_fields.size(); ++i) {
            Json value = m_readers[i](record);
            if (!m_fields[i].canBeMissing || !value.is_null()) {
                object[m_fields[i].key] = std::move(value);
            }
        }
        return object;
    }

private:
    JsonTable& keep(JsonField field, std::function<Json(const Record&)> read) {
        m_fields.push_back(std::move(field));
        m_readers.push_back(std::move(read));
        return *this;
    }

    std::vector<JsonField> m_fields;
    std::vector<std::function<Json(const Record&)>> m_readers;
};

} // namespace driftwell::dw
