#include "server/ModelTools.h"

#include "base/Json.h"
#include "server/JsonText.h"

#include <algorithm>
#include <vector>

namespace vennic::server {

namespace {
enum class Type { Text, Whole, Texts };

struct Argument {
    QLatin1String name;
    Type type = Type::Text;
    bool required = false;
    const char* meaning = "";
};

struct Tool {
    QLatin1String name;
    const char* meaning = "";
    std::vector<Argument> arguments{};
};

const Argument document{QLatin1String("document_id"), Type::Text, true, "A document's id, from search or list_dir."};
const Argument most{QLatin1String("limit"), Type::Whole, false, "How many at most, 1 to 30. 10 by default."};

const std::vector<Tool>& tools() {
    static const std::vector<Tool> all{
        {QLatin1String("search"),
         "Searches the folders that the user shared, by name and by text. All words must occur; case and accents don't "
         "matter. When nothing is found, try again with fewer or other words.",
         {{QLatin1String("query"), Type::Text, true, "The words, separated by blanks."},
          {QLatin1String("folder_hints"), Type::Texts, false, "Pieces of the paths of folders to prefer."},
          {QLatin1String("limit"), Type::Whole, false, "How many documents at most. 10 by default."}}},
        {QLatin1String("read"),
         "Reads the text of a document.",
         {document,
          {QLatin1String("max_chars"), Type::Whole, false, "How many characters, at most 10000. 8000 by default."}}},
        {QLatin1String("list_folders"), "Lists the folders that the user shared."},
        {QLatin1String("list_dir"),
         "Lists what a shared folder holds.",
         {{QLatin1String("folder_id"), Type::Text, true, "The folder's id, from list_folders."},
          {QLatin1String("sub_path"), Type::Text, false, "A path inside the folder, from an earlier list_dir."}}},
        {QLatin1String("ocr_image"), "Recognises the text in an image or in a scanned PDF.", {document}},
        {QLatin1String("open_document"), "Opens a document on the user's screen.", {document}},
        {QLatin1String("photos_recent"), "Lists the newest photos: names, dates and places, never the images.", {most}},
        {QLatin1String("photos_by_date"),
         "Lists the photos of a year or of a month.",
         {{QLatin1String("year"), Type::Whole, true, "The year, such as 2025."},
          {QLatin1String("month"), Type::Whole, false, "The month, 1 to 12."},
          most}},
        {QLatin1String("app_open"),
         "Opens an application on the user's screen.",
         {{QLatin1String("name"), Type::Text, true, "Its name or identifier."}}},
        {QLatin1String("shortcut_list"), "Lists the user's automations."},
        {QLatin1String("shortcut_run"),
         "Runs one of the user's automations. Only when the user asked for it.",
         {{QLatin1String("name"), Type::Text, true, "Its exact name, from shortcut_list."},
          {QLatin1String("input"), Type::Text, false, "Text for its standard input."}}},
    };
    return all;
}

QJsonObject schemaOf(const Argument& argument) {
    QJsonObject schema{{QStringLiteral("description"), QLatin1String(argument.meaning)}};
    switch (argument.type) {
    case Type::Text:
        schema.insert(QStringLiteral("type"), QStringLiteral("string"));
        break;
    case Type::Whole:
        schema.insert(QStringLiteral("type"), QStringLiteral("integer"));
        break;
    case Type::Texts:
        schema.insert(QStringLiteral("type"), QStringLiteral("array"));
        schema.insert(QStringLiteral("items"), QJsonObject{{QStringLiteral("type"), QStringLiteral("string")}});
        break;
    }
    return schema;
}

QJsonObject schemaOf(const Tool& tool) {
    QJsonObject properties;
    QJsonArray required;
    for (const Argument& argument : tool.arguments) {
        properties.insert(argument.name, schemaOf(argument));
        if (argument.required)
            required.append(argument.name);
    }
    QJsonObject parameters{{QStringLiteral("type"), QStringLiteral("object")},
                           {QStringLiteral("properties"), properties}};
    if (!required.isEmpty())
        parameters.insert(QStringLiteral("required"), required);
    return {{QStringLiteral("type"), QStringLiteral("function")},
            {QStringLiteral("function"), QJsonObject{{QStringLiteral("name"), tool.name},
                                                     {QStringLiteral("description"), QLatin1String(tool.meaning)},
                                                     {QStringLiteral("parameters"), parameters}}}};
}

bool isOf(Type type, const QJsonValue& value) {
    switch (type) {
    case Type::Text:
        return value.isString();
    case Type::Whole: // two different fall-backs tell a whole number from anything else
        return value.isDouble() && value.toInteger(0) == value.toInteger(1);
    case Type::Texts: {
        const QJsonArray array = value.toArray();
        return value.isArray() &&
               std::all_of(array.begin(), array.end(), [](const auto& each) { return each.isString(); });
    }
    }
    return false;
}

[[noreturn]] void refuse(const QString& sentence) { throw LocalizedError(sentence); }
} // namespace

QJsonArray modelTools() {
    QJsonArray all;
    for (const Tool& tool : tools())
        all.append(schemaOf(tool));
    return all;
}

QJsonObject toolArguments(const ToolCall& call) {
    const auto tool =
        std::find_if(tools().begin(), tools().end(), [&](const Tool& each) { return each.name == call.name; });
    if (tool == tools().end())
        refuse(QStringLiteral("There is no tool of that name."));
    QJsonObject given;
    try {
        if (!call.arguments.trimmed().isEmpty())
            given = parseJsonObject(call.arguments.toUtf8());
    } catch (const DecodingError&) {
        refuse(QStringLiteral("The arguments are not a JSON object."));
    }
    QJsonObject taken;
    for (const Argument& argument : tool->arguments) {
        const QJsonValue value = given.value(argument.name);
        if (value.isUndefined() || value.isNull()) {
            if (argument.required)
                refuse(QStringLiteral("The argument \"%1\" is missing.").arg(argument.name));
        } else if (!isOf(argument.type, value)) {
            refuse(QStringLiteral("The argument \"%1\" is of the wrong type.").arg(argument.name));
        } else {
            taken.insert(argument.name, value);
        }
    }
    return taken;
}

QString toolText(const QJsonObject& result, qsizetype longest) {
    QString text = QString::fromUtf8(jsonText(result));
    if (text.size() <= longest)
        return text;
    return text.left(longest) + QStringLiteral("… [cut: the result has %1 characters]").arg(text.size());
}

} // namespace vennic::server
