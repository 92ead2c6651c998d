#pragma once
#include <QString>

#include <functional>
#include <optional>

namespace vennic {

/// The road on which the desktop hands addresses to the running program. Main thread.
class IncomingURLs {
public:
    /// Gets the address as it came; none when a message had none.
    using Handler = std::function<void(const std::optional<QString>& address)>;

    virtual ~IncomingURLs() = default;
    virtual void setHandler(Handler handler) = 0;
    virtual void removeHandler() = 0;
};

} // namespace vennic
