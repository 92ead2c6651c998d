#pragma once
#include "Bridge/LocalToolArguments.h"
#include "Bridge/PhotosBridgeHandler.h"

namespace vennic {

/// The local model's tools that list photos. Each gives a text for the model, whatever happens, and fails with
/// Cancelled alone. Main thread only; the library is asked on the pool.
class LocalPhotoTools {
public:
    explicit LocalPhotoTools(PhotosBridgeHandler photos) : photos_(std::move(photos)) {}

    Task<QString> listRecentPhotos(LocalToolArguments arguments) const;
    Task<QString> listPhotosFromDate(LocalToolArguments arguments) const;

private:
    Task<QString> fetchPhotos(qint64 limit, std::optional<PhotoInterval> datePredicate) const;

    PhotosBridgeHandler photos_;
};

} // namespace vennic
