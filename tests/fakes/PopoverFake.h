#pragma once
#include "shell/Popover.h"

#include <vector>

namespace vennic::test {

/// A popover on no screen that remembers where it was shown.
class PopoverFake final : public Popover {
public:
    bool isShown() const override { return shown; }
    void show(std::optional<QRect> anchor) override {
        if (broken)
            throw LocalizedError(QStringLiteral("Pas d'écran."));
        shown = true;
        anchors.push_back(anchor);
    }
    void close() override {
        if (!shown)
            return;
        shown = false;
        Q_EMIT closed();
    }
    bool contains(QPoint place) const override { return shown && inside.contains(place); }
    void takeKeyboard() override {
        if (shown)
            ++keyboardTaken;
    }

    QRect inside; // where it is shown
    int keyboardTaken = 0;
    bool shown = false;
    bool broken = false;                       // can't be shown
    std::vector<std::optional<QRect>> anchors; // of each `show`
};

} // namespace vennic::test
