#include "linux_index/FileIndexContract.h"

#include "support/Await.h"

namespace vennic::test {

QStringList found(FileIndexWorld& world, const IndexPredicate& predicate, const QStringList& scopes, qint64 limit) {
    const auto query = world.index().query(predicate, scopes, limit);
    bool gathered = false;
    EXPECT_TRUE(query->start([&] { gathered = true; }));
    EXPECT_FALSE(gathered) << "called from inside start";
    EXPECT_TRUE(waitUntil([&] { return gathered; }));
    query->disableUpdates();
    QStringList paths;
    for (qint64 i = 0; i < query->resultCount(); ++i)
        paths.append(query->resultAt(i).path->mid(world.folder().size() + 1));
    query->enableUpdates();
    query->stop();
    return paths;
}

IndexPredicate allOf(const QStringList& words) {
    IndexPredicate predicate;
    std::vector<int> group;
    for (const QString& word : words) {
        group.push_back(static_cast<int>(predicate.patterns.size()));
        predicate.patterns.append(u'*' + word + u'*');
    }
    predicate.anyOf = {group};
    return predicate;
}

namespace {

QString s(const char* text) { return QString::fromUtf8(text); }

} // namespace

TEST_P(FileIndexContract, findsByNameAndByTextWithoutRegardToCaseButToAccents) {
    const auto world = GetParam().make();
    world->write(s("Facture EDF.txt"), s("rien"), 3000);
    world->write(s("notes.txt"), s("la FACTURE d'électricité"), 2000);
    world->write(s("autre.txt"), s("facturé"), 1000);
    world->index().setFolders({world->folder()});
    world->settle();
    EXPECT_EQ(found(*world, allOf({s("facture")}), {world->folder()}),
              QStringList({s("Facture EDF.txt"), s("notes.txt")}));
    EXPECT_EQ(found(*world, allOf({s("FACTURÉ")}), {world->folder()}), QStringList({s("autre.txt")}));
    EXPECT_EQ(found(*world, allOf({s("d\\'élec")}), {world->folder()}), QStringList({s("notes.txt")}));
    EXPECT_EQ(found(*world, allOf({s("absent")}), {world->folder()}), QStringList());
}

TEST_P(FileIndexContract, takesEachWordFromNameOrTextAndForgivesOneWhenAsked) {
    const auto world = GetParam().make();
    world->write(s("contrat.txt"), s("de location"), 3000);
    world->write(s("bail.txt"), s("location du garage"), 2000);
    world->write(s("garage.txt"), s("contrat"), 1000);
    world->index().setFolders({world->folder()});
    world->settle();
    EXPECT_EQ(found(*world, allOf({s("contrat"), s("location")}), {world->folder()}), QStringList({s("contrat.txt")}));
    IndexPredicate relaxed = allOf({s("contrat"), s("location"), s("garage")});
    relaxed.anyOf = {{0, 1}, {0, 2}, {1, 2}};
    EXPECT_EQ(found(*world, relaxed, {world->folder()}),
              QStringList({s("contrat.txt"), s("bail.txt"), s("garage.txt")}));
    relaxed.anyOf = {};
    EXPECT_EQ(found(*world, relaxed, {world->folder()}), QStringList());
}

TEST_P(FileIndexContract, keepsStarsAndQuestionMarksActiveAndTakesEscapedOnesLiterally) {
    const auto world = GetParam().make();
    world->write(s("alpha beta.txt"), s("x"), 3000);
    world->write(s("al*ta.txt"), s("x"), 2000);
    world->index().setFolders({world->folder()});
    world->settle();
    EXPECT_EQ(found(*world, allOf({s("al*ta")}), {world->folder()}),
              QStringList({s("alpha beta.txt"), s("al*ta.txt")}));
    EXPECT_EQ(found(*world, allOf({s("al\\*ta")}), {world->folder()}), QStringList({s("al*ta.txt")}));
    EXPECT_EQ(found(*world, allOf({s("b?ta")}), {world->folder()}), QStringList({s("alpha beta.txt")}));
}

TEST_P(FileIndexContract, givesTheNewestFirstUpToTheLimit) {
    const auto world = GetParam().make();
    for (int i = 0; i < 20; ++i)
        world->write(s("rapport %1.txt").arg(i), s("texte"), 1000 + (i * 7) % 20);
    world->index().setFolders({world->folder()});
    world->settle();
    const QStringList all = found(*world, allOf({s("rapport")}), {world->folder()});
    ASSERT_EQ(all.size(), 20);
    EXPECT_EQ(all.first(), s("rapport 17.txt"));
    EXPECT_EQ(found(*world, allOf({s("rapport")}), {world->folder()}, 3), all.first(3));
    EXPECT_EQ(found(*world, allOf({s("rapport")}), {world->folder()}, 0), QStringList());
}

TEST_P(FileIndexContract, staysWithinScopesAndSharedFoldersAndOutOfHiddenOnes) {
    const auto world = GetParam().make();
    world->write(s("a/rapport.txt"), s("x"), 4000);
    world->write(s("b/rapport.txt"), s("x"), 3000);
    world->write(s("b/.cache/rapport.txt"), s("x"), 2000);
    world->write(s("b/.rapport.txt"), s("x"), 1000);
    world->index().setFolders({world->folder() + s("/b")});
    world->settle();
    EXPECT_EQ(found(*world, allOf({s("rapport")}), {world->folder() + s("/b")}), QStringList({s("b/rapport.txt")}));
    EXPECT_EQ(found(*world, allOf({s("rapport")}), {world->folder() + s("/a")}), QStringList());
    world->index().setFolders({world->folder() + s("/a"), world->folder() + s("/b")});
    world->settle();
    EXPECT_EQ(found(*world, allOf({s("rapport")}), {world->folder() + s("/a"), world->folder() + s("/b")}),
              QStringList({s("a/rapport.txt"), s("b/rapport.txt")}));
    world->index().setFolders({world->folder() + s("/a")});
    EXPECT_EQ(found(*world, allOf({s("rapport")}), {world->folder() + s("/a"), world->folder() + s("/b")}),
              QStringList({s("a/rapport.txt")}));
}

TEST_P(FileIndexContract, neverCallsBackAfterStopAndKeepsWhatWasGathered) {
    const auto world = GetParam().make();
    world->write(s("rapport.txt"), s("x"), 1000);
    world->index().setFolders({world->folder()});
    world->settle();
    const auto query = world->index().query(allOf({s("rapport")}), {world->folder()}, 10);
    bool called = false;
    ASSERT_TRUE(query->start([&] { called = true; }));
    query->stop();
    const qint64 kept = query->resultCount();
    found(*world, allOf({s("rapport")}), {world->folder()}); // a later query has ended, so this one would have too
    EXPECT_FALSE(called);
    EXPECT_EQ(query->resultCount(), kept);
}

} // namespace vennic::test
