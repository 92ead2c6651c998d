#pragma once
#include <QString>

namespace vennic {

/// Whether the desktop starts the client when its user logs in: an entry in the autostart folder of the user, by the
/// Desktop Application Autostart Specification of freedesktop.org.
class Autostart {
public:
    /// `configuration` is the user's configuration folder, `program` the absolute path of the client.
    Autostart(const QString& configuration, QString program);

    bool isOn() const;
    /// Raises LocalizedError.
    void turnOn() const;
    /// Raises LocalizedError.
    void turnOff() const;
    const QString& entry() const { return entry_; }

private:
    QString entry_;
    QString program_;
};

} // namespace vennic
