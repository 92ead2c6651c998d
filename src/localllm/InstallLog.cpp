#include "localllm/InstallLog.h"

#include "base/ShownText.h"
#include "localllm/OutputLines.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr qsizetype longestLine = 4096; // UTF-16 code units
constexpr QChar escape(0x1B);

/// Behind the control sequence whose first character is at `at`.
qsizetype afterSequence(QStringView text, qsizetype at) {
    ++at;
    if (at >= text.size() || text[at] != u'[')
        return at;
    for (++at; at < text.size() && text[at] >= u' ' && text[at] <= u'?';)
        ++at; // parameters and intermediates
    return std::min(at + 1, text.size());
}

} // namespace

void InstallLog::append(const QString& line) {
    if (lines_.size() == mostLines)
        lines_.removeFirst();
    lines_.append(shownEnd(line, longestLine));
}

QStringList InstallLog::shown() const {
    QStringList shown;
    bool replaceable = false;
    for (const QString& line : lines_) {
        const QString words = shownLine(line);
        if (words.isEmpty())
            continue;
        const bool startsAnew = line.startsWith(u'\r');
        if (startsAnew && replaceable)
            shown.last() = words;
        else
            shown.append(words);
        replaceable = startsAnew;
    }
    return shown;
}

QString shownLine(const QString& line) {
    const QString text = settledLine(line);
    QString shown;
    for (qsizetype at = 0; at < text.size();) {
        if (text[at] == escape) {
            at = afterSequence(text, at);
            continue;
        }
        if (text[at] == u'\t')
            shown.append(u' ');
        else if (text[at].category() != QChar::Other_Control)
            shown.append(text[at]);
        ++at;
    }
    return drawableLine(shown);
}

std::optional<int> percentageIn(const QString& line) {
    const qsizetype sign = line.lastIndexOf(u'%');
    qsizetype from = sign;
    while (from > 0 && line[from - 1] >= u'0' && line[from - 1] <= u'9' && sign - from < 4)
        --from;
    bool isNumber = false;
    const int percentage = QStringView(line).mid(from, sign - from).toInt(&isNumber);
    return sign > 0 && isNumber && percentage <= 100 ? std::optional(percentage) : std::nullopt;
}

} // namespace vennic
