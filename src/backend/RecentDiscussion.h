#pragma once
#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace vennic {

/// A discussion of the account.
struct RecentDiscussion {
    qint64 id = 0;
    std::optional<QString> name{};
    std::optional<QString> updated_at{}; // as received
    std::optional<qint64> queries_count{};
    bool operator==(const RecentDiscussion&) const = default;

    /// The list that is an answer's body. Raises DecodingError.
    static std::vector<RecentDiscussion> decodeList(const QByteArray& body);
};

} // namespace vennic
