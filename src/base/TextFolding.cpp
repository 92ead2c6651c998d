#include "base/TextFolding.h"

namespace vennic {

QString foldedForComparison(const QString& text) {
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    QString base;
    base.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing)
            base.append(c);
    }
    return base.toCaseFolded();
}

QString caseFolded(const QString& text) { return text.normalized(QString::NormalizationForm_C).toCaseFolded(); }

} // namespace vennic
