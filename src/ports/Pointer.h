#pragma once
#include <QPoint>

#include <functional>
#include <optional>

namespace vennic {

/// The pointer, wherever on the screen it is. Main thread.
class Pointer {
public:
    /// Gets the place in global device pixels.
    using Pressed = std::function<void(QPoint place)>;

    virtual ~Pointer() = default;
    /// In global device pixels; none where programs aren't told.
    virtual std::optional<QPoint> position() = 0;
    /// Calls `pressed` at each press of a button, from the event loop, over whatever window it happens, also while
    /// another program has the pointer for itself. False where programs aren't told of it. Replaces who watched before.
    virtual bool watchPresses(Pressed pressed) = 0;
    virtual void stopWatching() = 0;
};

/// A program without a screen.
class NoPointer final : public Pointer {
public:
    std::optional<QPoint> position() override { return std::nullopt; }
    bool watchPresses(Pressed) override { return false; }
    void stopWatching() override {}
};

} // namespace vennic
