#pragma once
#include <QStringList>

#include <optional>

namespace vennic {

/// The last 200 lines of what installing, downloading and restarting told.
class InstallLog {
public:
    static constexpr qsizetype mostLines = 200;

    void append(const QString& line);
    void clear() { lines_.clear(); }
    /// As they came, but for the beginning of a line that is longer than anybody reads.
    const QStringList& lines() const { return lines_; }
    /// As a terminal would show them: a line that begins at its left edge anew takes the place of the one before, and
    /// control sequences are gone.
    QStringList shown() const;

private:
    QStringList lines_;
};

/// What a terminal would show of one line in the end, without control characters and sequences (ECMA-48) and with a
/// mark for each character that isn't drawable.
QString shownLine(const QString& line);
/// The percentage in a progress line like "Fetching 10 files:  30%|███"; none when there is none up to 100.
std::optional<int> percentageIn(const QString& line);

} // namespace vennic
