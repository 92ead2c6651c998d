#pragma once
#include "base/LocalizedError.h"
#include "ports/FolderPicker.h"

#include <vector>

namespace vennic::test {

/// A panel with somebody before it who chooses as told. Every panel is written down.
class FolderPickerFake final : public FolderPicker {
public:
    Task<QStringList> pick(FolderPanel panel) override {
        panels.push_back(std::move(panel));
        if (hold)
            co_await confirmed;
        if (!failure.isEmpty())
            throw LocalizedError(failure);
        co_return chosen;
    }

    QStringList chosen;
    QString failure; // why no panel can be shown
    bool hold = false;
    Event<> confirmed; // lets a held panel end
    std::vector<FolderPanel> panels;
};

} // namespace vennic::test
