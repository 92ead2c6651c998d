#include "linux/FolderFault.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace vennic::test {

TEST(FolderFault, speaksToItsUserAsTheProgramDoes) {
    for (const int error : {EACCES, EPERM})
        EXPECT_EQ(folderFault(error), QStringLiteral("tu n'as pas l'autorisation d'y accéder"));
}

} // namespace vennic::test
