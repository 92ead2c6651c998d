#pragma once
#include "Bridge/TaskAnswer.h"
#include "base/Clock.h"
#include "ports/PhotoLibrary.h"

#include <memory>

namespace vennic {

/// Answers `photos_recent` and `photos_by_date` with what is known of photos; no image leaves the machine. Main thread
/// only, but for `fetchItems`.
class PhotosBridgeHandler {
public:
    using Items = std::vector<BridgePhotosResult::Item>;

    /// The clock tells the zone in which a month begins; it outlives the handler.
    PhotosBridgeHandler(std::shared_ptr<PhotoLibrary> library, const Clock& clock)
        : library_(std::move(library)), clock_(clock) {}

    /// Each sends its own answer. Never fails but with Cancelled.
    Task<> handleRecent(BridgeTask task, PhotosRecentArgs args, APIService api) const;
    Task<> handleByDate(BridgeTask task, PhotosByDateArgs args, APIService api) const;

    /// Whether photos may be looked at; asks the user if they haven't decided, and waits.
    Task<bool> ensureAuthorized() const;
    /// The span of a month of the Gregorian calendar in the machine's zone. Of a whole year, where `month` is absent,
    /// it runs on to December of the next one. None where the calendar has no such date.
    std::optional<PhotoInterval> interval(qint64 year, std::optional<qint64> month) const;
    /// `fetchItems` off the main thread.
    Task<Items> fetch(std::optional<qint64> limit, std::optional<PhotoInterval> datePredicate) const;
    /// The sentence for photos that may not be looked at.
    static QString accessRefused();
    /// The newest photos: 10 of them without a limit, else 1 to 30. May block; any thread.
    Items fetchItems(std::optional<qint64> limit, std::optional<PhotoInterval> datePredicate) const;

private:
    Task<> answer(BridgeTask task, std::optional<qint64> limit, std::optional<PhotoInterval> created,
                  APIService api) const;
    static Items itemsOf(const std::shared_ptr<PhotoLibrary>& library, std::optional<qint64> limit,
                         std::optional<PhotoInterval> created);
    static std::optional<QString> mimeFromUTI(const std::optional<QString>& identifier);

    std::shared_ptr<PhotoLibrary> library_;
    const Clock& clock_;
    TaskAnswer answer_{[](const QString&) {}}; // a success that can't be sent is dropped
};

} // namespace vennic
