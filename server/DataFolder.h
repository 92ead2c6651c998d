#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic::server {

/// The folder that holds all of the server's state, 0700 and locked against a second server. Raises LocalizedError.
class DataFolder {
public:
    explicit DataFolder(const QString& path);
    ~DataFolder();
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

    QString path(const QString& name) const;
    /// At most 64 KiB of a file, or nothing where it doesn't exist.
    std::optional<QByteArray> read(const QString& name) const;
    /// Replaces a file as a whole, 0600.
    void writeSecret(const QString& name, const QByteArray& bytes) const;
    /// Replaces a file as a whole, 0644.
    void writePublic(const QString& name, const QByteArray& bytes) const;
    /// The owner's key, made at the first call.
    QByteArray ownerKey() const;
    /// The port of the last run, or 0.
    quint16 port() const;
    void keepPort(quint16 port) const;

private:
    QString folder_;
    int lock_ = -1;
};

/// Replaces any file as a whole. Raises LocalizedError.
void writeWhole(const QString& path, const QByteArray& bytes, bool secret);

} // namespace vennic::server
