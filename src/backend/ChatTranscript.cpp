#include "backend/ChatTranscript.h"

#include "backend/MessageBubble.h"
#include "backend/ToolLine.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr std::chrono::milliseconds frame{16};

/// The longest beginning of `text`, from `at`, that is a row: up to a blank, or at least no half character.
qsizetype rowEnd(QStringView text, qsizetype at) {
    if (text.size() - at <= ChatTranscript::rowSize)
        return text.size();
    const qsizetype limit = at + ChatTranscript::rowSize;
    for (qsizetype end = limit; end > at + ChatTranscript::rowSize / 2; --end)
        if (text[end - 1] == u' ')
            return end;
    return text[limit].isLowSurrogate() ? limit - 1 : limit;
}

bool isSame(const ChatMessage& a, const ChatMessage& b) {
    // Most are one and the same text, shared.
    const bool shared = a.content.constData() == b.content.constData() && a.content.size() == b.content.size();
    return a.id == b.id && a.role == b.role && (shared || a.content == b.content);
}

} // namespace

ChatTranscript::ChatTranscript(AppSession& session) : session_(session), firstRows_{0} {
    pace_.setSingleShot(true);
    pace_.setInterval(frame);
    connect(&pace_, &QTimer::timeout, this, [this] {
        if (behind_)
            follow();
    });
    connect(&session, &AppSession::messagesChanged, this, [this] {
        behind_ = true;
        if (!pace_.isActive())
            follow();
    });
    follow();
}

int ChatTranscript::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : firstRows_.back(); }

QHash<int, QByteArray> ChatTranscript::roleNames() const {
    return {{runs, "runs"}, {plain, "plain"}, {fromUser, "fromUser"}, {begins, "begins"}, {ends, "ends"}};
}

QVariant ChatTranscript::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= firstRows_.back())
        return {};
    const Place at = place(index.row());
    const Shown& shown = shown_[at.message];
    const Piece& piece = shown.pieces[at.piece];
    switch (role) {
    case runs:
        return QVariant::fromValue(runsOf(shown, piece));
    case plain: {
        QString text;
        for (const MarkdownRun& run : runsOf(shown, piece))
            text += run.text;
        return text;
    }
    case fromUser:
        return shown.message.role == ChatMessage::Role::user;
    case begins:
        return at.piece == 0;
    case ends:
        return at.piece + 1 == shown.pieces.size();
    default:
        return {};
    }
}

QString ChatTranscript::messageText(int row) const {
    if (row < 0 || row >= firstRows_.back())
        return {};
    const ChatMessage& message = shown_[place(row).message].message;
    return MessageBubble::plainContent(message.role, message.content);
}

std::vector<MarkdownRun> ChatTranscript::runsOf(const Shown& shown, const Piece& piece) const {
    if (!piece.cut.empty())
        return piece.cut;
    return MessageBubble::renderedContent(shown.message.role, shown.message.content.mid(piece.start, piece.length));
}

ChatTranscript::Place ChatTranscript::place(int row) const {
    const auto behind = std::upper_bound(firstRows_.begin(), firstRows_.end(), row);
    const auto message = static_cast<std::size_t>(behind - firstRows_.begin()) - 1;
    return {message, static_cast<std::size_t>(row - firstRows_[message])};
}

int ChatTranscript::firstRow(std::size_t message) const { return firstRows_[message]; }

std::vector<ChatTranscript::Piece> ChatTranscript::split(const ChatMessage& message, qsizetype from) {
    const QStringView text(message.content);
    if (const auto line = from == 0 ? shownToolLine(message) : std::nullopt)
        return {Piece{.start = 0, .length = text.size(), .cut = {MarkdownRun{.text = *line}}}};
    std::vector<Piece> pieces;
    std::optional<Piece> open; // whole lines that more may join
    qsizetype lines = 0;
    for (qsizetype start = from; start <= text.size();) {
        qsizetype end = text.indexOf(u'\n', start);
        if (end < 0)
            end = text.size();
        if (open && (end - open->start > rowSize || lines == rowLines)) {
            pieces.push_back(*open);
            open.reset();
            lines = 0;
        }
        if (end - start > rowSize) {
            splitLine(message, start, end - start, pieces);
        } else {
            if (!open)
                open = Piece{.start = start, .length = 0};
            open->length = end - open->start;
            ++lines;
        }
        start = end + 1;
    }
    if (open)
        pieces.push_back(*open);
    return pieces;
}

void ChatTranscript::splitLine(const ChatMessage& message, qsizetype start, qsizetype length,
                               std::vector<Piece>& pieces) {
    // What stands between two marks may lie on both sides of a cut, so the line is understood as a whole first.
    Piece piece{.start = start, .length = length};
    const std::size_t before = pieces.size();
    qsizetype room = rowSize;
    const auto next = [&] {
        if (!piece.cut.empty())
            pieces.push_back(std::exchange(piece, Piece{.start = start, .length = length}));
        room = rowSize;
    };
    for (const MarkdownRun& run : MessageBubble::renderedContent(message.role, message.content.mid(start, length))) {
        for (qsizetype at = 0; at < run.text.size();) {
            const bool fits = run.text.size() - at <= room;
            const qsizetype end = fits ? run.text.size() : rowEnd(run.text, at);
            if (!fits && end - at > room)
                next();
            MarkdownRun part = run;
            part.text = run.text.mid(at, end - at);
            piece.cut.push_back(std::move(part));
            room -= end - at;
            at = end;
        }
    }
    if (pieces.size() == before && piece.cut.empty())
        piece.cut.emplace_back(); // of nothing but marks, nothing is seen; it is a line nevertheless
    next();
}

void ChatTranscript::follow() {
    behind_ = false;
    pace_.start();
    update();
}

void ChatTranscript::update() {
    const std::vector<ChatMessage>& messages = session_.messages();
    const std::size_t before = shown_.size();
    std::size_t same = 0;
    while (same < before && same < messages.size() && isSame(shown_[same].message, messages[same]))
        ++same;
    const bool lastGrew = same + 1 == before && same < messages.size() &&
                          shown_[same].message.id == messages[same].id &&
                          shown_[same].message.role == messages[same].role;
    if (lastGrew)
        updateLast(messages[same++]);
    if (same < before || same < messages.size())
        replaceFrom(same, messages);
    if (before != shown_.size())
        Q_EMIT messageCountChanged();
}

void ChatTranscript::updateLast(const ChatMessage& message) {
    Shown& last = shown_.back();
    const int first = firstRow(shown_.size() - 1);
    std::size_t kept = 0;
    // What was added can change nothing before the last row, or before the line that it is a part of.
    if (message.content.startsWith(last.message.content)) {
        kept = last.pieces.size() - 1;
        while (kept > 0 && last.pieces[kept - 1].start == last.pieces[kept].start)
            --kept;
    }
    const std::vector<Piece> tail = split(message, last.pieces[kept].start);
    const int before = static_cast<int>(last.pieces.size());
    const int after = static_cast<int>(kept + tail.size());
    const auto put = [&](const std::vector<Piece>& pieces) {
        last.message = message;
        last.pieces = pieces;
        firstRows_.back() = first + static_cast<int>(pieces.size());
    };
    std::vector<Piece> all(last.pieces.begin(), last.pieces.begin() + static_cast<std::ptrdiff_t>(kept));
    all.insert(all.end(), tail.begin(), tail.end());
    if (after > before) {
        beginInsertRows({}, first + before, first + after - 1);
        put(all);
        endInsertRows();
    } else if (after < before) {
        beginRemoveRows({}, first + after, first + before - 1);
        put(all);
        endRemoveRows();
    } else {
        put(all);
    }
    const int changed = first + static_cast<int>(kept);
    Q_EMIT dataChanged(index(changed), index(first + std::min(before, after) - 1));
}

void ChatTranscript::replaceFrom(std::size_t at, const std::vector<ChatMessage>& messages) {
    const int first = firstRow(at);
    if (at < shown_.size()) {
        beginRemoveRows({}, first, firstRows_.back() - 1);
        shown_.resize(at);
        firstRows_.resize(at + 1);
        endRemoveRows();
    }
    if (at == messages.size())
        return;
    std::vector<Shown> more;
    int rows = first;
    std::vector<int> firstRows;
    for (std::size_t i = at; i < messages.size(); ++i) {
        more.push_back({messages[i], split(messages[i], 0)});
        rows += static_cast<int>(more.back().pieces.size());
        firstRows.push_back(rows);
    }
    beginInsertRows({}, first, rows - 1);
    std::move(more.begin(), more.end(), std::back_inserter(shown_));
    firstRows_.insert(firstRows_.end(), firstRows.begin(), firstRows.end());
    endInsertRows();
}

} // namespace vennic
