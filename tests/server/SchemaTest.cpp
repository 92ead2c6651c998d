#include "server/Schema.h"

#include "server/Database.h"
#include "server/Machines.h"

#include <gtest/gtest.h>

namespace vennic::server::test {

TEST(SchemaTest, aDatabaseOfTheFirstFormatKeepsItsMachinesAndTheirTokens) {
    Database database(QStringLiteral(":memory:"));
    prepareSchema(database);
    database.script("INSERT INTO accounts(id, email) VALUES(1, 'a@b');"
                    "INSERT INTO machines VALUES(1, 'A', 'nom', NULL, 5, 42);"
                    "DROP TABLE machine_tokens; DROP TABLE turns; DROP TABLE discussions; DROP TABLE answering;"
                    "PRAGMA user_version = 1");
    prepareSchema(database);
    Machines machines(database);
    const DeviceKey key{1, QStringLiteral("A")};
    EXPECT_EQ(machines.tokens(key), QList<qint64>{42});
    EXPECT_EQ(machines.find(key).value().nickname, QStringLiteral("nom"));
}

TEST(SchemaTest, preparingTwiceChangesNothing) {
    Database database(QStringLiteral(":memory:"));
    prepareSchema(database);
    EXPECT_NO_THROW(prepareSchema(database));
}

} // namespace vennic::server::test
