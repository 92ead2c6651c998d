#include "fakes/KeyValueStoreFake.h"
#include "linux/KeyValueStoreSqlite.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

class FakeStore {
public:
    KeyValueStore& store() { return fake_; }

private:
    KeyValueStoreFake fake_;
};

class SqliteStore {
public:
    KeyValueStore& store() { return store_; }

private:
    QTemporaryDir folder_;
    KeyValueStoreSqlite store_{folder_.filePath(QStringLiteral("preferences.sqlite"))};
};

} // namespace

template <class S>
class KeyValueStoreContract : public testing::Test {
protected:
    KeyValueStore& store() { return holder_.store(); }
    const QString key_ = QStringLiteral("key");

private:
    S holder_;
};
using Stores = testing::Types<FakeStore, SqliteStore>;
TYPED_TEST_SUITE(KeyValueStoreContract, Stores);

TYPED_TEST(KeyValueStoreContract, aMissingKeyIsNotAFalseValue) {
    EXPECT_EQ(this->store().value(this->key_), std::nullopt);
    this->store().set(this->key_, false);
    EXPECT_EQ(this->store().value(this->key_), StoredValue(false));
    this->store().set(this->key_, QString());
    EXPECT_EQ(this->store().value(this->key_), StoredValue(QString()));
    this->store().set(this->key_, QByteArray());
    EXPECT_EQ(this->store().value(this->key_), StoredValue(QByteArray()));
}

TYPED_TEST(KeyValueStoreContract, aReadSeesTheLastWriteAtOnce) {
    for (qint64 i = 0; i < 1000; ++i) {
        this->store().set(this->key_, i);
        ASSERT_EQ(storedAs<qint64>(this->store(), this->key_), i);
    }
}

TYPED_TEST(KeyValueStoreContract, theTypeIsKept) {
    this->store().set(this->key_, qint64{1});
    EXPECT_EQ(storedAs<bool>(this->store(), this->key_), std::nullopt);
    EXPECT_EQ(storedAs<QString>(this->store(), this->key_), std::nullopt);
    EXPECT_EQ(storedAs<qint64>(this->store(), this->key_), 1);
    this->store().set(this->key_, QStringLiteral("1"));
    EXPECT_EQ(storedAs<qint64>(this->store(), this->key_), std::nullopt);
}

TYPED_TEST(KeyValueStoreContract, aRemovedKeyIsMissing) {
    this->store().set(this->key_, true);
    this->store().remove(this->key_);
    EXPECT_EQ(this->store().value(this->key_), std::nullopt);
    this->store().remove(this->key_); // a second time changes nothing
    this->store().set(this->key_, true);
    EXPECT_EQ(this->store().value(this->key_), StoredValue(true));
}

TYPED_TEST(KeyValueStoreContract, keysAreOneApartFromAnother) {
    this->store().set(QStringLiteral("vennic.a"), qint64{1});
    this->store().set(QStringLiteral("vennic.A"), qint64{2});
    this->store().set(QStringLiteral("vennic.é"), qint64{3});
    EXPECT_EQ(storedAs<qint64>(this->store(), QStringLiteral("vennic.a")), 1);
    EXPECT_EQ(storedAs<qint64>(this->store(), QStringLiteral("vennic.A")), 2);
    EXPECT_EQ(storedAs<qint64>(this->store(), QStringLiteral("vennic.é")), 3);
}

} // namespace vennic::test
