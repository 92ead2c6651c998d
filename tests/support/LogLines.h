#pragma once
#include <QMessageLogContext>
#include <QStringList>

namespace vennic::test {

/// Keeps the log's lines while it lives.
class LogLines {
public:
    LogLines() : before_(qInstallMessageHandler(&LogLines::take)) { lines_.clear(); }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;
    ~LogLines() { qInstallMessageHandler(before_); }
    QStringList matching(const char* word) const { return lines_.filter(QString::fromUtf8(word)); }

private:
    static void take(QtMsgType, const QMessageLogContext&, const QString& line) { lines_.append(line); }
    static inline QStringList lines_;
    QtMessageHandler before_;
};

} // namespace vennic::test
