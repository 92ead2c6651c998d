#pragma once
#include "linux/index/TextSource.h"
#include "ports/DocumentReader.h"
#include "ports/FileTypes.h"

namespace vennic::index {

/// Text by way of the boxed reader. What counts as text is decided by extension and type, as when a file is read
/// for the user. The two ports outlive it.
class DocumentTextSource final : public TextSource {
public:
    DocumentTextSource(DocumentReader& reader, const FileTypes& types) : reader_(reader), types_(types) {}

    Form formOf(std::string_view name) const override;
    Result read(int file, std::string_view name) override;

private:
    enum class Road { none, plain, rtf, pdf };
    Road roadOf(std::string_view name) const;

    DocumentReader& reader_;
    const FileTypes& types_;
};

} // namespace vennic::index
