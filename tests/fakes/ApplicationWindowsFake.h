#pragma once
#include "core/ApplicationWindows.h"

#include <QStringList>

#include <functional>

namespace vennic::test {

/// Windows that a test puts there and takes away. Everything asked of them is written down.
class ApplicationWindowsFake final : public ApplicationWindows {
public:
    std::vector<ApplicationWindow> windows() const override { return open; }
    void activate() override { calls.append(QStringLiteral("activate")); }
    void showSettings() override {
        calls.append(QStringLiteral("showSettings"));
        if (onShowSettings)
            onShowSettings();
    }
    void bringForward(quint64 number) override { calls.append(QStringLiteral("bringForward %1").arg(number)); }

    std::vector<ApplicationWindow> open;
    std::function<void()> onShowSettings;
    QStringList calls;
};

} // namespace vennic::test
