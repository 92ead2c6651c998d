#include "server/SimpleRequest.h"

#include <QRegularExpression>

#include <array>
#include <optional>

namespace vennic::server {

namespace {
using Kind = SimpleRequest::Kind;

/// Lower case, without accents, with single blanks; as many characters as before where it matters: at word ends.
QString plain(const QString& text) {
    QString folded;
    for (const QChar c : text.normalized(QString::NormalizationForm_D)) {
        if (!c.isMark())
            folded += c.toLower();
    }
    return folded.replace(QChar(0x2019), u'\'').simplified();
}

std::optional<int> positionIn(const QString& sentence) {
    static constexpr std::array<const char*, 10> ordinals{"premier", "deuxieme", "troisieme", "quatrieme", "cinquieme",
                                                          "sixieme", "septieme", "huitieme",  "neuvieme",  "dixieme"};
    for (std::size_t at = 0; at < ordinals.size(); ++at) {
        if (sentence.contains(QLatin1String(ordinals.at(at))))
            return static_cast<int>(at) + 1;
    }
    if (sentence.contains(QLatin1String("second")))
        return 2;
    static const QRegularExpression number(QStringLiteral("\\b(\\d{1,2})\\b"));
    if (const auto match = number.match(sentence); match.hasMatch())
        return match.captured(1).toInt();
    return std::nullopt;
}

/// What stands behind the verb of a search, as it was written.
QString searchedWords(const QString& text) {
    static const QRegularExpression verb(
        QStringLiteral("^.*?\\b(?:re)?cherche[rz]?[- ]?(?:moi)?\\s+|^.*?\\btrouve[rz]?[- ]?(?:moi)?\\s+"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression filler(
        QStringLiteral(
            "^(?:(?:le|la|les|un|une|des|mon|ma|mes)\\s+)?(?:documents?|fichiers?)\\s+(?:sur|avec|de|du|pour)\\s+"),
        QRegularExpression::CaseInsensitiveOption);
    const QString flat = text.simplified();
    const auto match = verb.match(flat);
    if (!match.hasMatch())
        return {};
    QString words = flat.mid(match.capturedEnd());
    words.remove(filler);
    static const QRegularExpression edges(QStringLiteral("^[\\s\"«»“”]+|[\\s\"«»“”?!.]+$"));
    return words.remove(edges);
}
} // namespace

SimpleRequest understand(const QString& text) {
    const QString sentence = plain(text);
    const auto has = [&](const char* word) { return sentence.contains(QLatin1String(word)); };
    if (const QString words = searchedWords(text); !words.isEmpty())
        return {Kind::search, words, 1};
    static const QRegularExpression reading(QStringLiteral("\\b(lis|lire|lisez|resume)\\b"));
    if (reading.match(sentence).hasMatch())
        return {Kind::read, {}, positionIn(sentence).value_or(1)};
    static const QRegularExpression opening(QStringLiteral("\\b(ouvre|ouvrir|ouvrez)\\b"));
    if (opening.match(sentence).hasMatch())
        return {Kind::open, {}, positionIn(sentence).value_or(1)};
    if (has("dossier"))
        return {Kind::listFolders, {}, 1};
    if (has("raccourci") || has("automatisation"))
        return {Kind::listShortcuts, {}, 1};
    if (has("photo"))
        return {Kind::recentPhotos, {}, 1};
    return {};
}

} // namespace vennic::server
