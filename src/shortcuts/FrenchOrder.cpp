#include "shortcuts/FrenchOrder.h"

#include <algorithm>
#include <memory>
#include <unicode/coll.h>

namespace vennic::shortcuts {

void sortAsFrench(std::vector<std::string>& texts) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale::getFrench(), status));
    if (U_SUCCESS(status))
        collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    std::ranges::sort(texts, [&](const std::string& left, const std::string& right) {
        UErrorCode compared = status;
        const UCollationResult order = U_SUCCESS(status) ? collator->compareUTF8(left, right, compared) : UCOL_EQUAL;
        return order == UCOL_EQUAL ? left < right : order == UCOL_LESS;
    });
}

} // namespace vennic::shortcuts
