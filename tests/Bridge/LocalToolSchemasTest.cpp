#include "Bridge/LocalToolRegistry.h"

#include <QJsonObject>

#include <gtest/gtest.h>

namespace vennic {
namespace {

struct Property {
    const char* name;
    const char* type;
    const char* description;
};

struct Tool {
    const char* name;
    const char* description;
    std::vector<Property> properties;
    const char* required; // null where none is
};

const std::vector<Tool>& expectedTools() {
    static const std::vector<Tool> tools{
        {"search_local_documents",
         "Search the user's Mac for local documents (PDFs, Office docs, notes, text). Files never leave the Mac, only "
         "search results come back.\n\nCall this tool whenever the user asks for one of their own files. Search first, "
         "then answer — do not offer to generate a template or ask clarifying questions before at least one search "
         "attempt.\n\nTokens are whitespace-AND-ed (case- and diacritic-insensitive, filename or body). If the first "
         "search is empty, retry with fewer tokens before telling the user you found nothing.\n\nFormatting: ONE "
         "bullet "
         "per document. Filename as `[Filename](vennic://local_file/open/<document_id>)`, then metadata on the SAME "
         "line after \" — \". Never surface the raw `document_id` as plain text.",
         {{"query", "string", "Whitespace-separated tokens."},
          {"folder_hints", "array", "Optional folder names to prefer."},
          {"limit", "integer", "Max results. Default 10."}},
         "query"},
        {"read_local_document",
         "Read plain-text content of a local document previously returned by search_local_documents. Pass the opaque "
         "`document_id` — never a file path.",
         {{"document_id", "string", "Opaque id from search_local_documents."},
          {"max_chars", "integer", "Truncate body past this many characters. Default 8000, hard cap ~10k."}},
         "document_id"},
        {"list_local_folders", "List the folders the user has granted the Mac bridge access to.", {}, nullptr},
        {"browse_local_folder",
         "List files and subdirectories inside a specific local folder. Use after list_local_folders. Subfolders can "
         "be "
         "browsed in turn with the same tool.",
         {{"folder_id", "string", "Opaque id from list_local_folders."},
          {"sub_path", "string", "Optional relative path inside the folder."}},
         "folder_id"},
        {"list_recent_photos",
         "List the N most recent photos in the user's Photos library (metadata only; bytes stay on the Mac).",
         {{"limit", "integer", "Max results, 1..30. Default 10."}},
         nullptr},
        {"list_photos_from_date",
         "List photos from a specific year (optionally narrowed to a month). Returns metadata only.",
         {{"year", "integer", "e.g. 2025"},
          {"month", "integer", "Optional 1..12; omit for the whole year."},
          {"limit", "integer", "Max results, 1..30. Default 10."}},
         "year"},
        {"open_app",
         "Open a Mac application by display name (e.g. 'Notes', 'Safari', 'Keynote'). Brings it to the foreground.",
         {{"name", "string", "Application display name or bundle id."}},
         "name"},
        {"list_shortcuts",
         "List the user's Shortcuts (from Shortcuts.app). Useful before calling run_shortcut.",
         {},
         nullptr},
        {"run_shortcut",
         "Run a Shortcut by exact name. Optional `input` is piped to stdin. First run triggers macOS Automation "
         "permission prompt.",
         {{"name", "string", "Exact shortcut name as shown in Shortcuts.app."},
          {"input", "string", "Optional text to pipe to the shortcut's input."}},
         "name"},
        {"ocr_local_image",
         "Run VisionKit OCR over a local image (PNG/JPEG/HEIC/TIFF) or scanned PDF. Pass a `document_id` from a "
         "previous "
         "search_local_documents result — same security rules as read_local_document.",
         {{"document_id", "string", "Opaque id from search_local_documents."}},
         "document_id"}};
    return tools;
}

QJsonObject expected(const Property& property) {
    QJsonObject object{{QStringLiteral("type"), QString::fromUtf8(property.type)},
                       {QStringLiteral("description"), QString::fromUtf8(property.description)}};
    if (qstrcmp(property.type, "array") == 0)
        object.insert(QStringLiteral("items"), QJsonObject{{QStringLiteral("type"), QStringLiteral("string")}});
    return object;
}

QJsonObject expected(const Tool& tool) {
    QJsonObject properties;
    for (const Property& property : tool.properties)
        properties.insert(QString::fromUtf8(property.name), expected(property));
    QJsonObject parameters{{QStringLiteral("type"), QStringLiteral("object")},
                           {QStringLiteral("properties"), properties}};
    if (tool.required)
        parameters.insert(QStringLiteral("required"), QJsonArray{QString::fromUtf8(tool.required)});
    return {
        {QStringLiteral("type"), QStringLiteral("function")},
        {QStringLiteral("function"), QJsonObject{{QStringLiteral("name"), QString::fromUtf8(tool.name)},
                                                 {QStringLiteral("description"), QString::fromUtf8(tool.description)},
                                                 {QStringLiteral("parameters"), parameters}}}};
}

TEST(LocalToolSchemas, theTenToolsAreDescribedWordForWordAndInOrder) {
    const QJsonArray schemas = LocalToolRegistry::schemas();
    ASSERT_EQ(schemas.size(), 10);
    for (qsizetype i = 0; i < schemas.size(); ++i) {
        const Tool& tool = expectedTools()[static_cast<std::size_t>(i)];
        EXPECT_EQ(schemas[i].toObject(), expected(tool)) << tool.name;
    }
}

TEST(LocalToolSchemas, onlyTwoFamiliesOfModelsAreOfferedTools) {
    for (const char* model : {"QWEN3-8B", "mlx-community/Qwen2.5-7B-Instruct-4bit", "my-qwen3", "qwen2.5", "xqwen30b"})
        EXPECT_TRUE(LocalToolRegistry::isToolCapable(QString::fromUtf8(model))) << model;
    for (const char* model : {"qwen2-7b", "qwen-3", "", "qwen", "llama-3.1-70b-instruct", "qwen2,5", "qwen 3"})
        EXPECT_FALSE(LocalToolRegistry::isToolCapable(QString::fromUtf8(model))) << model;
}

} // namespace
} // namespace vennic
