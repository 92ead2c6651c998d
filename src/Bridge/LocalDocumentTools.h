#pragma once
#include "Bridge/DocumentExtractor.h"
#include "Bridge/LocalToolArguments.h"
#include "Bridge/OcrEngine.h"
#include "Bridge/SharedDocuments.h"
#include "Bridge/SharedFolderSearch.h"

namespace vennic {

/// The local model's tools that find documents and read them. Each gives a text for the model, whatever happens, and
/// fails with Cancelled alone. Main thread only; what blocks is done on the pool.
class LocalDocumentTools {
public:
    LocalDocumentTools(SharedFolderSearch search, SharedDocuments documents, DocumentExtractor extractor,
                       OcrEngine engine)
        : search_(std::move(search)), documents_(std::move(documents)), extractor_(std::move(extractor)),
          engine_(std::move(engine)) {}

    Task<QString> searchLocalDocuments(LocalToolArguments arguments);
    Task<QString> readLocalDocument(LocalToolArguments arguments) const;
    Task<QString> ocrLocalImage(LocalToolArguments arguments) const;

private:
    SharedFolderSearch search_;
    SharedDocuments documents_;
    DocumentExtractor extractor_;
    OcrEngine engine_;
};

} // namespace vennic
