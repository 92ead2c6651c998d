#include "base/NameCollation.h"

#include <QLocale>

namespace vennic {

NameCollation::NameCollation() : collator_(QLocale(QLocale::French, QLocale::France)) {
    collator_.setCaseSensitivity(Qt::CaseInsensitive);
}

} // namespace vennic
