#include "server/EventPieces.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace vennic::server {
namespace {
QStringList piecesOf(const QStringList& deltas) {
    EventPieces pieces;
    QStringList all;
    for (const QString& delta : deltas)
        all.append(pieces.take(delta));
    all.append(pieces.rest());
    all.removeAll(QString());
    return all;
}
} // namespace

TEST(EventPieces, noPieceBeginsWithALineEndAndNothingIsLost) {
    const QStringList deltas{QStringLiteral("Bon"),   QStringLiteral("\n"),  QStringLiteral("\n\n"),
                             QStringLiteral("\nj"),   QStringLiteral("our"), QString(),
                             QStringLiteral("\r\n!"), QStringLiteral("\n")};
    const QStringList pieces = piecesOf(deltas);
    EXPECT_EQ(pieces.join(QString()), deltas.join(QString()));
    for (const QString& piece : pieces)
        EXPECT_FALSE(piece.startsWith(u'\n') || piece.startsWith(u'\r')) << piece.toStdString();
}

TEST(EventPieces, allButTheLastCharacterGoesAtOnce) {
    EventPieces pieces;
    EXPECT_EQ(pieces.take(QStringLiteral("Bonjour")), QStringLiteral("Bonjou"));
    EXPECT_EQ(pieces.take(QStringLiteral(" toi")), QStringLiteral("r to"));
    EXPECT_EQ(pieces.rest(), QStringLiteral("i"));
    EXPECT_EQ(pieces.rest(), QString());
}

TEST(EventPieces, aCharacterIsNeverCutInTwo) {
    const QString fox = QStringLiteral("🦊");
    EventPieces pieces;
    EXPECT_EQ(pieces.take(QStringLiteral("a") + fox), QStringLiteral("a"));
    EXPECT_EQ(pieces.take(fox.left(1)), fox);
    EXPECT_EQ(pieces.take(fox.mid(1)), QString());
    EXPECT_EQ(pieces.rest(), fox);
}

} // namespace vennic::server
