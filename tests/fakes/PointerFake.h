#pragma once
#include "ports/Pointer.h"

#include <utility>

namespace vennic::test {

/// A pointer that a test moves and presses.
class PointerFake final : public Pointer {
public:
    std::optional<QPoint> position() override { return where; }
    bool watchPresses(Pressed pressed) override {
        if (where)
            pressed_ = std::move(pressed);
        return where.has_value();
    }
    void stopWatching() override { pressed_ = {}; }

    void press() const {
        if (pressed_ && where)
            pressed_(*where);
    }
    bool isWatched() const { return static_cast<bool>(pressed_); }

    std::optional<QPoint> where = QPoint(0, 0); // none: a desktop that tells nothing

private:
    Pressed pressed_;
};

} // namespace vennic::test
