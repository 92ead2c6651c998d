#pragma once
#include "base/InlineMarkdown.h"
#include "core/AppSession.h"

#include <QAbstractListModel>
#include <QTimer>

namespace vennic {

/// The conversation as rows of bounded size: a message is one row, a long one several, whose texts follow each other
/// line under line. So what a row costs to draw doesn't grow with the message, and a streamed piece of an answer
/// touches the last row alone. Follows the session at most sixty times a second. Main thread only.
class ChatTranscript final : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int messageCount READ messageCount NOTIFY messageCountChanged)
public:
    enum Field {
        runs = Qt::UserRole + 1, // std::vector<MarkdownRun>
        plain,                   // what a screen reader says
        fromUser,
        begins, // the first row of its message
        ends,   // the last
    };
    static constexpr qsizetype rowSize = 2000; // characters
    static constexpr qsizetype rowLines = 40;

    /// `session` outlives the transcript.
    explicit ChatTranscript(AppSession& session);

    int messageCount() const { return static_cast<int>(shown_.size()); }
    /// The whole message that a row belongs to, as plain text; empty for no row.
    Q_INVOKABLE QString messageText(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void messageCountChanged();

private:
    /// A part of a message, without the line end behind it.
    struct Piece {
        qsizetype start = 0;
        qsizetype length = 0;
        std::vector<MarkdownRun> cut{}; // of a part of one line; else made when asked for
        bool operator==(const Piece&) const = default;
    };
    struct Shown {
        ChatMessage message;
        std::vector<Piece> pieces;
    };
    struct Place {
        std::size_t message = 0;
        std::size_t piece = 0;
    };

    static std::vector<Piece> split(const ChatMessage& message, qsizetype from);
    static void splitLine(const ChatMessage& message, qsizetype start, qsizetype length, std::vector<Piece>& pieces);
    void follow();
    void update();
    void updateLast(const ChatMessage& message);
    void replaceFrom(std::size_t at, const std::vector<ChatMessage>& messages);
    Place place(int row) const;
    int firstRow(std::size_t message) const;
    std::vector<MarkdownRun> runsOf(const Shown& shown, const Piece& piece) const;

    AppSession& session_;
    std::vector<Shown> shown_;
    std::vector<int> firstRows_; // of each message, and behind them the number of all rows
    QTimer pace_;
    bool behind_ = false;
};

} // namespace vennic
