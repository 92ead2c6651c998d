#pragma once
#include <QCollator>

namespace vennic {

/// The order in which a French reader expects names: by their letters, then by their accents, case not at all, figures
/// one by one (CLDR's collation for French, at its second level). The process's locale has no say in it, and names
/// that differ only in case or in Unicode composition are equal. One thread at a time.
class NameCollation {
public:
    /// Compares like the name that it was made of, and far quicker.
    using Key = QCollatorSortKey;

    NameCollation();
    Key key(const QString& name) const { return collator_.sortKey(name); }

private:
    QCollator collator_;
};

} // namespace vennic
