#pragma once
#include <QString>

#include <optional>

namespace vennic {

/// Public type identifiers ("com.adobe.pdf", "public.plain-text") of files and their kinship.
/// Any thread may use it; nothing here touches the file's content.
class FileTypes {
public:
    virtual ~FileTypes() = default;
    /// The identifier of a file name extension (any case, without the dot) that conforms to data. An unknown
    /// extension gives a dynamic identifier ("dyn." and letters) that only its extension makes; an empty one none.
    virtual std::optional<QString> typeForExtension(const QString& extension) const = 0;
    /// Whether `type` is `ancestor` or descends from it.
    virtual bool conforms(const QString& type, const QString& ancestor) const = 0;
    /// The MIME type that files of an extension (any case, without the dot) are best known by; none for an unknown or
    /// empty one.
    virtual std::optional<QString> mimeTypeForExtension(const QString& extension) const = 0;
    /// The identifier of a file by its name; "public.folder" for a directory, "public.data" without extension.
    virtual QString typeForFile(const QString& name, bool isDirectory) const = 0;
};

} // namespace vennic
