#pragma once
#include <QByteArray>

#include <optional>

namespace vennic {

/// The longest line of a streamed answer that is still believed.
inline constexpr qsizetype mostLineBytes = 1024LL * 1024;

/// Cuts bytes that come in pieces into lines. A line ends in a line feed, with or without a carriage return before it,
/// and is given without its end; empty lines are lines.
class LineReader {
public:
    /// A line of more than `mostBytes` is one too many.
    explicit LineReader(qsizetype mostBytes) : mostBytes_(mostBytes) {}

    void feed(QByteArrayView bytes);
    /// The next whole line; none until more has been fed.
    std::optional<QByteArray> next();
    /// What stands behind the last line end: a line too, once nothing more comes.
    QByteArray rest() const { return pending_.mid(at_); }
    /// Whether a line is longer than allowed. Nothing can be read past it.
    bool overflowed() const;

private:
    qsizetype mostBytes_;
    QByteArray pending_;
    qsizetype at_ = 0;       // where the next line begins
    qsizetype searched_ = 0; // no line end before this
};

} // namespace vennic
