#pragma once
#include "backend/ProviderPicker.h"
#include "base/ShownText.h"

#include <QVariantList>

namespace vennic {

/// The menu of a ProviderPicker as one list of lines. Main thread only.
class PickerMenu final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString pillLabel READ pillLabel NOTIFY pillChanged)
    Q_PROPERTY(QString pillIcon READ pillIcon NOTIFY pillChanged)
public:
    /// `picker` outlives the menu.
    explicit PickerMenu(ProviderPicker& picker) : picker_(picker) {
        connect(&picker, &ProviderPicker::pillChanged, this, &PickerMenu::pillChanged);
        connect(&picker, &ProviderPicker::sectionsChanged, this, &PickerMenu::entriesChanged);
    }

    QString pillLabel() const { return shownTitle(picker_.pillLabel()); }
    QString pillIcon() const { return picker_.pillIcon(); }
    /// The lines as they are now: `heading`, `title`, and of an item `subtitle`, `symbol`, `current` and `place`.
    Q_INVOKABLE QVariantList entries();
    /// Takes the item at a place of what `entries` gave last.
    Q_INVOKABLE void choose(int place);
    Q_INVOKABLE void appear() { picker_.appear(); }

Q_SIGNALS:
    void pillChanged();
    void entriesChanged();

private:
    ProviderPicker& picker_;
    std::vector<ProviderPicker::Item> items_;
};

} // namespace vennic
