#include "backend/APIError.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

TEST(APIError, anHttpErrorShowsItsStatusAndItsMessage) {
    const auto error = APIError::http(422, QStringLiteral("code expiré"));
    EXPECT_EQ(error.errorDescription(), QStringLiteral("Erreur HTTP 422 : code expiré"));
    EXPECT_EQ(error.kind(), APIError::Case::http);
    EXPECT_EQ(error.status(), 422);
    EXPECT_EQ(error.message(), QStringLiteral("code expiré"));
}

TEST(APIError, withoutAMessageOnlyTheStatusIsShown) {
    EXPECT_EQ(APIError::http(500, std::nullopt).errorDescription(), QStringLiteral("Erreur HTTP 500"));
    EXPECT_EQ(APIError::http(500, QString()).errorDescription(), QStringLiteral("Erreur HTTP 500"));
    EXPECT_EQ(APIError::http(-1, std::nullopt).errorDescription(), QStringLiteral("Erreur HTTP -1"));
}

TEST(APIError, aMessageThatLooksLikeAPlaceholderStaysAsItIs) {
    EXPECT_EQ(APIError::http(400, QStringLiteral("%lld %1")).errorDescription(),
              QStringLiteral("Erreur HTTP 400 : %lld %1"));
}

TEST(APIError, theOtherCasesHaveTheirSentence) {
    EXPECT_EQ(APIError::notAuthenticated().errorDescription(),
              QStringLiteral("Pas connecté. Configure ton jeton dans Réglages."));
    EXPECT_EQ(APIError::decoding().errorDescription(), QStringLiteral("Réponse illisible du serveur"));
}

} // namespace
} // namespace vennic
