#pragma once
#include "base/LocalizedError.h"
#include "base/StableSort.h"
#include "ports/PhotoLibrary.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace vennic::test {

/// Photos in memory, and a user who answers as told. What is asked is written down.
class PhotoLibraryFake final : public PhotoLibrary {
public:
    PhotoAuthorization authorizationStatus() const override { return status; }

    Task<PhotoAuthorization> requestAuthorization() override {
        if (status != PhotoAuthorization::notDetermined)
            co_return status;
        ++requests;
        if (holdRequests)
            co_await answered;
        status = userSays;
        co_return status;
    }

    std::vector<PhotoAsset> fetchImages(qint64 limit, std::optional<PhotoInterval> created) override {
        const std::scoped_lock guard(lock_);
        fetches.emplace_back(limit, created);
        if (!isOpen())
            return {};
        std::vector<PhotoAsset> found;
        for (const PhotoAsset& photo : photos) {
            const auto& date = photo.creationDate;
            if (!created || (date && *date >= created->from && *date < created->until))
                found.push_back(photo);
        }
        // None is less than any date, so the undated ones come last.
        found = stablySorted(std::move(found),
                             [](const PhotoAsset& a, const PhotoAsset& b) { return a.creationDate > b.creationDate; });
        found.resize(std::min<std::size_t>(found.size(), static_cast<std::size_t>(std::max<qint64>(limit, 0))));
        return found;
    }

    std::optional<PhotoAsset> asset(const QString& localIdentifier) override {
        const auto found = std::ranges::find(photos, localIdentifier, &PhotoAsset::localIdentifier);
        return isOpen() && found != photos.end() ? std::optional(*found) : std::nullopt;
    }

    std::optional<PhotoImage> imageData(const QString& localIdentifier) override {
        if (!isOpen())
            return std::nullopt;
        if (!exportFailure.isEmpty())
            throw LocalizedError(exportFailure);
        const auto found = images.find(localIdentifier);
        return found == images.end() ? std::nullopt : std::optional(found->second);
    }

    PhotoAuthorization status = PhotoAuthorization::authorized;
    PhotoAuthorization userSays = PhotoAuthorization::authorized;
    bool holdRequests = false;
    Event<> answered; // lets a held request go on
    int requests = 0; // dialogs raised
    std::vector<PhotoAsset> photos;
    std::map<QString, PhotoImage> images;
    QString exportFailure; // raised by imageData
    std::vector<std::pair<qint64, std::optional<PhotoInterval>>> fetches;

private:
    bool isOpen() const { return status == PhotoAuthorization::authorized || status == PhotoAuthorization::limited; }
    std::mutex lock_;
};

} // namespace vennic::test
