#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// One small file that only its owner may read (0600, in a folder that only its owner may write), replaced as a
/// whole. A file or folder that others could have written or could read, a symbolic link and anything that isn't a
/// regular file are refused and left as they are. Operations block on the disk; after a failure nothing has changed.
class PrivateFile {
public:
    enum class State { sound, missing, tooLarge, refused };
    struct Content {
        State state = State::refused;
        QByteArray bytes; // not shared, so that the caller can wipe it
    };

    PrivateFile(QString path, qsizetype maxBytes) : path_(std::move(path)), maxBytes_(maxBytes) {}

    Content read() const;

    /// Holds other writers off while it lives.
    class Writer {
    public:
        Writer(Writer&& other) noexcept;
        Writer(const Writer&) = delete;
        Writer& operator=(const Writer&) = delete;
        Writer& operator=(Writer&&) = delete;
        ~Writer();

        Content read() const;
        /// Writes beside, syncs, and puts the new file in the old one's place.
        bool replace(const QByteArray& bytes);
        /// Renames the file to a name that carries the date and `reason`.
        bool setAside(const QString& reason);

    private:
        friend class PrivateFile;
        Writer(const PrivateFile& file, int folder) : file_(file), folder_(folder) {}
        const PrivateFile& file_;
        int folder_;
    };
    /// Makes the folder (0700) where it is missing; removes what a writer that was killed left beside the file. None
    /// when the folder is refused or another writer doesn't come to an end within two seconds.
    std::optional<Writer> write() const;

private:
    int openFolder() const; // -1 and errno
    Content readIn(int folder) const;

    QString path_;
    qsizetype maxBytes_;
};

} // namespace vennic
