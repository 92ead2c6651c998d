#pragma once
#include "ports/DesktopAppearance.h"

namespace vennic::test {

/// A desktop that looks as it is told.
class DesktopAppearanceFake final : public DesktopAppearance {
public:
    bool isDark() const override { return dark; }
    bool isAnimated() const override { return animated; }
    bool isComposited() const override { return composited; }
    void follow(std::function<void()> changed) override { listener = std::move(changed); }
    /// The user switches between light and dark.
    void turn(bool toDark) {
        dark = toDark;
        if (listener)
            listener();
    }

    bool dark = false;
    bool animated = false; // what a test sees has come to rest
    bool composited = true;
    std::function<void()> listener;
};

} // namespace vennic::test
