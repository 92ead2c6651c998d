#pragma once
#include "ports/FileTypes.h"

#include <map>

namespace vennic::test {

/// A handful of types; any other extension is a dynamic one.
class FileTypesFake final : public FileTypes {
public:
    std::optional<QString> typeForExtension(const QString& extension) const override {
        if (extension.isEmpty())
            return std::nullopt;
        const auto type = types.find(extension.toLower());
        return type == types.end() ? QStringLiteral("dyn.") + extension.toLower() : type->second;
    }
    bool conforms(const QString& type, const QString& ancestor) const override {
        for (QString at = type;;) {
            if (at == ancestor)
                return true;
            const auto parent = parents.find(at);
            if (parent == parents.end())
                return false;
            at = parent->second;
        }
    }
    std::optional<QString> mimeTypeForExtension(const QString& extension) const override {
        const auto mime = mimes.find(extension.toLower());
        return mime == mimes.end() ? std::nullopt : std::optional(mime->second);
    }
    QString typeForFile(const QString& name, bool isDirectory) const override {
        if (isDirectory)
            return QStringLiteral("public.folder");
        const qsizetype dot = name.lastIndexOf(u'.');
        return dot > 0 ? typeForExtension(name.sliced(dot + 1)).value_or(QString()) : QStringLiteral("public.data");
    }

    std::map<QString, QString> types{
        {QStringLiteral("pdf"), QStringLiteral("com.adobe.pdf")},
        {QStringLiteral("ai"), QStringLiteral("com.adobe.illustrator.ai-image")},
        {QStringLiteral("rtf"), QStringLiteral("public.rtf")},
        {QStringLiteral("txt"), QStringLiteral("public.plain-text")},
        {QStringLiteral("text"), QStringLiteral("public.plain-text")},
        {QStringLiteral("zip"), QStringLiteral("public.zip-archive")},
        {QStringLiteral("docx"), QStringLiteral("org.openxmlformats.wordprocessingml.document")},
    };
    std::map<QString, QString> mimes{
        {QStringLiteral("pdf"), QStringLiteral("application/pdf")},
        {QStringLiteral("txt"), QStringLiteral("text/plain")},
        {QStringLiteral("md"), QStringLiteral("text/markdown")},
    };
    std::map<QString, QString> parents{
        {QStringLiteral("com.adobe.illustrator.ai-image"), QStringLiteral("com.adobe.pdf")},
        {QStringLiteral("public.plain-text"), QStringLiteral("public.text")},
        {QStringLiteral("public.text"), QStringLiteral("public.data")},
    };
};

} // namespace vennic::test
