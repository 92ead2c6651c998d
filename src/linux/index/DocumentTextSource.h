#pragma once
#include "linux/index/TextSource.h"
#include "linux/worker/OpenDocumentReader.h"
#include "ports/FileTypes.h"

#include <optional>

namespace vennic::index {

/// Text by way of the boxed reader. What counts as text is decided by extension and type, as when a file is read
/// for the user. Reader and types outlive it.
class DocumentTextSource final : public TextSource {
public:
    DocumentTextSource(OpenDocumentReader& reader, const FileTypes& types) : reader_(reader), types_(types) {}

    Form formOf(std::string_view name) const override;
    Result read(int file, std::string_view name) override;

private:
    /// The form that a file is read as; none for what has no text.
    std::optional<DocumentForm> documentFormOf(std::string_view name) const;

    OpenDocumentReader& reader_;
    const FileTypes& types_;
};

} // namespace vennic::index
