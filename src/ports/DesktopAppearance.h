#pragma once
#include <functional>

namespace vennic {

/// How the desktop looks, as far as our windows look like it. Main thread only.
class DesktopAppearance {
public:
    virtual ~DesktopAppearance() = default;
    /// Whether the user prefers light text on dark ground. A desktop that doesn't say is a light one.
    virtual bool isDark() const = 0;
    /// Whether things may move; a user whom movement disturbs switches it off.
    virtual bool isAnimated() const = 0;
    /// Whether what lies behind a window shows through it: without that, a soft corner is a black one.
    virtual bool isComposited() const = 0;
    /// Has `changed` called after each change of isDark or isAnimated, instead of who was told before; none: nobody.
    virtual void follow(std::function<void()> changed) = 0;
};

/// A desktop that says nothing of itself.
class NoDesktopAppearance final : public DesktopAppearance {
public:
    bool isDark() const override { return false; }
    bool isAnimated() const override { return true; }
    bool isComposited() const override { return false; }
    void follow(std::function<void()>) override {}
};

} // namespace vennic
