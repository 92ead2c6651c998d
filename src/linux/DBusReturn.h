#pragma once
#include "linux/DBusLink.h"

#include <QObject>
#include <QTimer>

namespace vennic {

/// Says when the bus of a link has gone, and when it is there again: whoever had a name, an object or a watch on it has
/// to put it there anew. A bus that was never there isn't waited for. Main thread only.
class DBusReturn final : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds usualPause{500};

    /// `link` outlives this object. The pause before the first look grows up to a minute.
    explicit DBusReturn(DBusLink& link, std::chrono::milliseconds pause = usualPause);

Q_SIGNALS:
    void gone();
    void returned();

private Q_SLOTS:
    void onDisconnected();

private:
    void watch();
    void look();

    DBusLink& link_;
    std::chrono::milliseconds firstPause_;
    QTimer again_;
};

} // namespace vennic
