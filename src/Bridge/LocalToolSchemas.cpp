#include "Bridge/LocalToolRegistry.h"

namespace vennic {

namespace {

using Properties = QJsonObject;

QJsonObject property(const char* type, const char* description) {
    return {{QStringLiteral("type"), QString::fromLatin1(type)},
            {QStringLiteral("description"), QString::fromUtf8(description)}};
}

QJsonObject listOfTexts(const char* description) {
    QJsonObject list = property("array", description);
    list.insert(QStringLiteral("items"), QJsonObject{{QStringLiteral("type"), QStringLiteral("string")}});
    return list;
}

QJsonObject documentId() { return property("string", "Opaque id from search_local_documents."); }

QJsonObject photoLimit() { return property("integer", "Max results, 1..30. Default 10."); }

/// What a tool takes (JSON Schema); without a required property the list of them is left out.
QJsonObject parameters(const Properties& properties, const char* required = nullptr) {
    QJsonObject schema{{QStringLiteral("type"), QStringLiteral("object")}, {QStringLiteral("properties"), properties}};
    if (required)
        schema.insert(QStringLiteral("required"), QJsonArray{QString::fromLatin1(required)});
    return schema;
}

QJsonObject wrap(const char* name, const char* description, const QJsonObject& parameters) {
    return {{QStringLiteral("type"), QStringLiteral("function")},
            {QStringLiteral("function"), QJsonObject{{QStringLiteral("name"), QString::fromLatin1(name)},
                                                     {QStringLiteral("description"), QString::fromUtf8(description)},
                                                     {QStringLiteral("parameters"), parameters}}}};
}

QJsonObject searchLocalDocuments() {
    return wrap("search_local_documents",
                "Search the user's Mac for local documents (PDFs, Office docs, notes, text). Files never leave the "
                "Mac, only search results come back.\n\n"
                "Call this tool whenever the user asks for one of their own files. Search first, then answer — do not "
                "offer to generate a template or ask clarifying questions before at least one search attempt.\n\n"
                "Tokens are whitespace-AND-ed (case- and diacritic-insensitive, filename or body). If the first search "
                "is empty, retry with fewer tokens before telling the user you found nothing.\n\n"
                "Formatting: ONE bullet per document. Filename as "
                "`[Filename](vennic://local_file/open/<document_id>)`, then metadata on the SAME line after \" — \". "
                "Never surface the raw `document_id` as plain text.",
                parameters({{QStringLiteral("query"), property("string", "Whitespace-separated tokens.")},
                            {QStringLiteral("folder_hints"), listOfTexts("Optional folder names to prefer.")},
                            {QStringLiteral("limit"), property("integer", "Max results. Default 10.")}},
                           "query"));
}

QJsonObject readLocalDocument() {
    return wrap("read_local_document",
                "Read plain-text content of a local document previously returned by search_local_documents. Pass the "
                "opaque `document_id` — never a file path.",
                parameters({{QStringLiteral("document_id"), documentId()},
                            {QStringLiteral("max_chars"),
                             property("integer", "Truncate body past this many characters. Default 8000, hard cap "
                                                 "~10k.")}},
                           "document_id"));
}

QJsonObject listLocalFolders() {
    return wrap("list_local_folders", "List the folders the user has granted the Mac bridge access to.",
                parameters({}));
}

QJsonObject browseLocalFolder() {
    return wrap(
        "browse_local_folder",
        "List files and subdirectories inside a specific local folder. Use after list_local_folders. "
        "Subfolders can be browsed in turn with the same tool.",
        parameters({{QStringLiteral("folder_id"), property("string", "Opaque id from list_local_folders.")},
                    {QStringLiteral("sub_path"), property("string", "Optional relative path inside the folder.")}},
                   "folder_id"));
}

QJsonObject listRecentPhotos() {
    return wrap("list_recent_photos",
                "List the N most recent photos in the user's Photos library (metadata only; bytes stay on the Mac).",
                parameters({{QStringLiteral("limit"), photoLimit()}}));
}

QJsonObject listPhotosFromDate() {
    return wrap("list_photos_from_date",
                "List photos from a specific year (optionally narrowed to a month). Returns metadata only.",
                parameters({{QStringLiteral("year"), property("integer", "e.g. 2025")},
                            {QStringLiteral("month"), property("integer", "Optional 1..12; omit for the whole year.")},
                            {QStringLiteral("limit"), photoLimit()}},
                           "year"));
}

QJsonObject openApp() {
    return wrap(
        "open_app",
        "Open a Mac application by display name (e.g. 'Notes', 'Safari', 'Keynote'). Brings it to the "
        "foreground.",
        parameters({{QStringLiteral("name"), property("string", "Application display name or bundle id.")}}, "name"));
}

QJsonObject listShortcuts() {
    return wrap("list_shortcuts", "List the user's Shortcuts (from Shortcuts.app). Useful before calling run_shortcut.",
                parameters({}));
}

QJsonObject runShortcut() {
    return wrap(
        "run_shortcut",
        "Run a Shortcut by exact name. Optional `input` is piped to stdin. First run triggers macOS Automation "
        "permission prompt.",
        parameters({{QStringLiteral("name"), property("string", "Exact shortcut name as shown in Shortcuts.app.")},
                    {QStringLiteral("input"), property("string", "Optional text to pipe to the shortcut's input.")}},
                   "name"));
}

QJsonObject ocrLocalImage() {
    return wrap("ocr_local_image",
                "Run VisionKit OCR over a local image (PNG/JPEG/HEIC/TIFF) or scanned PDF. Pass a `document_id` from a "
                "previous search_local_documents result — same security rules as read_local_document.",
                parameters({{QStringLiteral("document_id"), documentId()}}, "document_id"));
}

} // namespace

QJsonArray LocalToolRegistry::schemas() {
    return {searchLocalDocuments(), readLocalDocument(), listLocalFolders(), browseLocalFolder(), listRecentPhotos(),
            listPhotosFromDate(),   openApp(),           listShortcuts(),    runShortcut(),       ocrLocalImage()};
}

} // namespace vennic
