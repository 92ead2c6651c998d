#include "base/SystemReason.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>

using namespace vennic;

TEST(SystemReason, putsFaultsIntoFrenchWords) {
    EXPECT_EQ(systemReason(ENOSPC), "il n'y a plus de place sur le disque");
    EXPECT_EQ(systemReason(EROFS), "le disque est en lecture seule");
    EXPECT_EQ(systemReason(EMFILE), "trop de fichiers sont ouverts");
}

TEST(SystemReason, namesWhatNobodyHasPutIntoWordsByItsNumber) {
    EXPECT_EQ(systemReason(EXFULL), "erreur 54 du système");
    EXPECT_EQ(systemReason(0), "erreur 0 du système");
    EXPECT_EQ(systemReason(-4711), "erreur -4711 du système");
}

TEST(SystemReason, neverSpeaksTheCLibrarysEnglish) {
    for (int error = 0; error < 200; ++error)
        EXPECT_EQ(systemReason(error).find(std::strerror(error)), std::string::npos) << error;
}
