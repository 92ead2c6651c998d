#pragma once
#include "linux/FileDescriptor.h"

#include <QString>

namespace vennic {

/// A regular file that was opened for reading without waiting for anybody: a FIFO, a device, a folder or a link of
/// /proc is refused. Raises DocumentReadError (unreadable) with the system's own words.
class OpenedDocument {
public:
    explicit OpenedDocument(const QString& path);
    /// The same of a file that somebody has opened already; `name` stands in sentences. Raises WorkerFailure
    /// (unavailable) when there are no descriptors left.
    OpenedDocument(int descriptor, const QString& name);
    int descriptor() const { return file_.number(); }
    const QString& path() const { return path_; }
    /// The size now; it may change while the file is open.
    qint64 size() const;

private:
    void check() const;

    QString path_;
    FileDescriptor file_;
};

/// The sentence for a file that gave the system error `number`.
QString unreadableSentence(const QString& path, int number);
QString tooLargeSentence(const QString& path);

} // namespace vennic
