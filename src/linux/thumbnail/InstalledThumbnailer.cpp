#include "linux/thumbnail/InstalledThumbnailer.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QUrl>

#include <glib.h>
#include <memory>

namespace vennic {
namespace {

constexpr const char* group = "Thumbnailer Entry";

struct Free {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
    void operator()(char* text) const { g_free(text); }
    void operator()(char** list) const { g_strfreev(list); }
};
using KeyFile = std::unique_ptr<GKeyFile, Free>;
using Text = std::unique_ptr<char, Free>;
using TextList = std::unique_ptr<char*, Free>;

KeyFile load(const QString& path) {
    KeyFile file(g_key_file_new());
    constexpr qint64 largestFile = 65536;
    QFile source(path);
    if (!source.open(QIODevice::ReadOnly) || source.size() > largestFile)
        return nullptr;
    const QByteArray content = source.read(largestFile);
    if (!g_key_file_load_from_data(file.get(), content.constData(), static_cast<gsize>(content.size()), G_KEY_FILE_NONE,
                                   nullptr))
        return nullptr;
    return file;
}

Text value(GKeyFile* file, const char* key) { return Text(g_key_file_get_string(file, group, key, nullptr)); }

bool draws(GKeyFile* file, const QByteArray& mimeType) {
    const TextList types(g_key_file_get_string_list(file, group, "MimeType", nullptr, nullptr));
    return types && g_strv_contains(types.get(), mimeType.constData());
}

bool isInstalled(const Text& program) {
    return !program || !QStandardPaths::findExecutable(QFile::decodeName(program.get())).isEmpty();
}

std::optional<InstalledThumbnailer> thumbnailerOf(GKeyFile* file) {
    const Text exec = value(file, "Exec");
    char** arguments = nullptr;
    if (!exec || !isInstalled(value(file, "TryExec")) || !g_shell_parse_argv(exec.get(), nullptr, &arguments, nullptr))
        return std::nullopt;
    const TextList parsed(arguments);
    InstalledThumbnailer thumbnailer;
    for (char** argument = arguments; *argument != nullptr; ++argument)
        thumbnailer.exec.append(*argument);
    if (QStandardPaths::findExecutable(QFile::decodeName(thumbnailer.exec.first())).isEmpty())
        return std::nullopt;
    return thumbnailer;
}

QByteArray filled(const QByteArray& argument, const QByteArray& input, const QByteArray& output, int edge) {
    QByteArray result;
    for (qsizetype i = 0; i < argument.size(); ++i) {
        if (argument[i] != '%' || i + 1 == argument.size()) {
            result += argument[i];
            continue;
        }
        switch (argument[++i]) {
        case 'i':
            result += input;
            break;
        case 'u':
            result += QUrl::fromLocalFile(QFile::decodeName(input)).toEncoded();
            break;
        case 'o':
            result += output;
            break;
        case 's':
            result += QByteArray::number(edge);
            break;
        case '%':
            result += '%';
            break;
        default: // nobody has given it a meaning
            break;
        }
    }
    return result;
}

} // namespace

QList<QByteArray> InstalledThumbnailer::command(const QByteArray& input, const QByteArray& output, int edge) const {
    QList<QByteArray> arguments;
    for (const QByteArray& argument : exec)
        arguments.append(filled(argument, input, output, edge));
    return arguments;
}

std::optional<InstalledThumbnailer> installedThumbnailer(const QString& mimeType, const QStringList& dataFolders) {
    for (const QString& data : dataFolders) {
        const QDir folder(data + QStringLiteral("/thumbnailers"));
        for (const QString& name : folder.entryList({QStringLiteral("*.thumbnailer")}, QDir::Files, QDir::Name)) {
            const KeyFile file = load(folder.filePath(name));
            if (!file || !draws(file.get(), mimeType.toUtf8()))
                continue;
            if (auto thumbnailer = thumbnailerOf(file.get()))
                return thumbnailer;
        }
    }
    return std::nullopt;
}

QStringList dataFolders() { return QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation); }

} // namespace vennic
