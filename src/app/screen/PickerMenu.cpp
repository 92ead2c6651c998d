#include "app/screen/PickerMenu.h"

namespace vennic {

QVariantList PickerMenu::entries() {
    items_.clear();
    QVariantList lines;
    for (const ProviderPicker::Section& section : picker_.sections()) {
        if (!section.title.isEmpty())
            lines.append(
                QVariantMap{{QStringLiteral("heading"), true}, {QStringLiteral("title"), shownTitle(section.title)}});
        for (const ProviderPicker::Item& item : section.items) {
            lines.append(QVariantMap{{QStringLiteral("heading"), false},
                                     {QStringLiteral("title"), shownTitle(item.title)},
                                     {QStringLiteral("subtitle"), item.subtitle},
                                     {QStringLiteral("symbol"), item.icon},
                                     {QStringLiteral("current"), item.current},
                                     {QStringLiteral("place"), static_cast<int>(items_.size())}});
            items_.push_back(item);
        }
    }
    return lines;
}

void PickerMenu::choose(int place) {
    if (place >= 0 && place < static_cast<int>(items_.size()))
        picker_.choose(ProviderPicker::Item(items_[static_cast<std::size_t>(place)]));
}

} // namespace vennic
