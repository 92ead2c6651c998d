#pragma once
#include "linux/FileDescriptor.h"

#include <QString>

namespace vennic {

/// A regular file that was opened for reading without waiting for anybody: a FIFO, a device, a folder or a link of
/// /proc is refused, and so is a file of more than `mostBytes`. Raises DocumentReadError (unreadable) with a
/// sentence that says why.
class OpenedDocument {
public:
    OpenedDocument(const QString& path, qint64 mostBytes);
    /// The same of a file that somebody has opened already; `name` stands in sentences. Raises WorkerFailure
    /// (unavailable) when there are no descriptors left.
    OpenedDocument(int descriptor, const QString& name, qint64 mostBytes);
    /// No other object of this program has had it.
    quint64 number() const { return number_; }
    int descriptor() const { return file_.number(); }
    const QString& path() const { return path_; }
    /// The size now; it may change while the file is open.
    qint64 size() const;

private:
    void check(qint64 mostBytes) const;

    quint64 number_;
    QString path_;
    FileDescriptor file_;
};

/// The sentence for a file that gave the system error `number`.
QString unreadableSentence(const QString& path, int number);
QString tooLargeSentence(const QString& path);

} // namespace vennic
