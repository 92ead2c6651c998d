#include "base/TextFolding.h"
#include "linux_index/IndexedFolder.h"
#include "linux_index/NaiveGlob.h"
#include "support/Await.h"

#include <algorithm>
#include <random>

namespace {

using namespace vennic;
using vennic::index::test::IndexedFolder;
using vennic::index::test::naiveLike;

struct Document {
    std::string path, name, text;
    qint64 changedAt = 0;
};

/// Words with accents in both forms, apostrophes, punctuation, one letter, long runs.
const std::vector<std::string> words{"facture",   "FACTURE",     "Factures",
                                     "contrat",   "élève",       "e\u0301le\u0300ve",
                                     "ÉLÈVE",     "Straße",      "strasse",
                                     "l'eau",     "l’eau",       "d'avril",
                                     "fa-12",     "10/05/2019",  "m.",
                                     "M. Martin", "c++",         "a",
                                     "é",         "x_y",         "petit@lyon.example",
                                     "3,50 €",    "日本語",      "ΔΙΑΦΟΡΑ",
                                     "😀",        "...",         "--",
                                     "(note)",    "50%",         "a*b",
                                     "a?b",       "back\\slash", "naïve\tvoilà",
                                     "œuvre"};

class OracleTest : public ::testing::Test {
protected:
    void fill(int documents, unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < documents; ++i) {
            Document document;
            document.name = "doc " + std::to_string(i) + " " + safe(words[random() % words.size()]) +
                            (random() % 4   ? ".txt"
                             : random() % 2 ? ".rtf"
                                            : ".bin");
            document.path = "d" + std::to_string(i % 5) + "/" + document.name;
            for (unsigned k = random() % 12; k > 0; --k)
                document.text += words[random() % words.size()] + (random() % 3 ? " " : "\n");
            if (random() % 10 == 0)
                document.text += std::string(200 + random() % 300, 'z') + "fin" + std::string(random() % 200, 'z');
            document.changedAt = 1'500'000'000 + i * 10;
            if (document.name.ends_with(".bin"))
                world.write(QString::fromStdString(document.path), QStringLiteral("non lu"), document.changedAt);
            else
                world.write(QString::fromStdString(document.path), QString::fromStdString(document.text),
                            document.changedAt);
            if (document.name.ends_with(".bin"))
                document.text.clear();
            documents_.push_back(std::move(document));
        }
    }
    static std::string safe(std::string word) {
        std::ranges::replace(word, '/', '-');
        return word;
    }
    QStringList expected(const IndexPredicate& predicate) const {
        std::vector<const Document*> found;
        for (const Document& document : documents_) {
            std::vector<bool> matches;
            for (const QString& pattern : predicate.patterns) {
                const std::string p = pattern.toStdString();
                matches.push_back(naiveLike(document.name, p) || naiveLike(document.text, p));
            }
            const bool any = std::ranges::any_of(predicate.anyOf, [&](const std::vector<int>& group) {
                return std::ranges::all_of(group, [&](int at) { return matches[static_cast<std::size_t>(at)]; });
            });
            if (any)
                found.push_back(&document);
        }
        std::ranges::sort(found, [](const Document* a, const Document* b) { return a->changedAt > b->changedAt; });
        QStringList paths;
        for (const Document* document : found)
            paths.append(QString::fromStdString(document->path));
        return paths;
    }
    /// Folders are found too; the model doesn't have them.
    QStringList files(QStringList paths) const {
        paths.removeIf([](const QString& path) { return !path.contains(u'/'); });
        return paths;
    }
    std::string randomToken(std::mt19937& random) const {
        const std::string& word = words[random() % words.size()];
        const QString text = QString::fromStdString(word);
        QString token = text.mid(static_cast<qsizetype>(random() % static_cast<unsigned>(text.size())),
                                 1 + static_cast<qsizetype>(random() % 6));
        token = QString::fromUtf8(token.toUtf8());
        if (random() % 4 == 0)
            token = token.toUpper();
        token.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'"));
        if (random() % 4 == 0 && token.size() > 2)
            token[1] = random() % 2 ? u'?' : u'*';
        return token.toStdString();
    }

    IndexedFolder world;
    std::vector<Document> documents_;
};

TEST_F(OracleTest, findsExactlyWhatThePlainMatcherFindsInThatOrder) {
    fill(250, 1);
    world.share();
    world.settle();
    std::mt19937 random(2);
    int hits = 0;
    for (int round = 0; round < 150; ++round) {
        IndexPredicate predicate;
        std::vector<int> all;
        for (unsigned k = 1 + random() % 3; k > 0; --k) {
            all.push_back(static_cast<int>(predicate.patterns.size()));
            predicate.patterns.append(QString::fromStdString('*' + randomToken(random) + '*'));
        }
        predicate.anyOf = {all};
        if (all.size() == 3 && random() % 2)
            predicate.anyOf = {{0, 1}, {0, 2}, {1, 2}};
        const QStringList found = files(test::found(world, predicate, {world.folder()}, 1000));
        ASSERT_EQ(found, expected(predicate)) << predicate.patterns.join(QStringLiteral(" & ")).toStdString();
        hits += static_cast<int>(found.size());
    }
    EXPECT_GT(hits, 500);
}

TEST_F(OracleTest, findsTheSameInPendingWordsInSegmentsAndAfterChanges) {
    fill(60, 3);
    world.share();
    world.settle();
    std::mt19937 random(4);
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 10; ++i) {
            Document& document = documents_[random() % documents_.size()];
            if (document.name.ends_with(".bin"))
                continue;
            document.text = words[random() % words.size()] + " version " + std::to_string(round * 100 + i);
            document.changedAt += 1'000'000 + round * 100'000 + i;
            world.write(QString::fromStdString(document.path), QString::fromStdString(document.text),
                        document.changedAt);
        }
        const IndexPredicate versions = test::allOf({QStringLiteral("version")});
        const bool same = test::waitUntil(
            [&] { return files(test::found(world, versions, {world.folder()}, 1000)) == expected(versions); });
        ASSERT_TRUE(same) << round;
        for (const char* token : {"facture", "é", "e", "m.", "l\\'eau", "a", "fa*12"}) {
            const IndexPredicate predicate = test::allOf({QString::fromUtf8(token)});
            EXPECT_EQ(files(test::found(world, predicate, {world.folder()}, 1000)), expected(predicate)) << token;
        }
    }
}

TEST_F(OracleTest, aPatternWithoutStarsIsTheWholeNameOrText) {
    world.write(QStringLiteral("exact.txt"), QStringLiteral("Tout le texte"), 1000);
    world.share();
    world.settle();
    for (const char* pattern : {"exact.txt", "EXACT.TXT", "tout le texte", "tout*", "*texte", "?xact.txt"})
        EXPECT_EQ(test::found(world, {{QString::fromUtf8(pattern)}, {{0}}}, {world.folder()}).size(), 1) << pattern;
    for (const char* pattern : {"exact", "tout", "texte*", "?exact.txt", ""})
        EXPECT_EQ(test::found(world, {{QString::fromUtf8(pattern)}, {{0}}}, {world.folder()}).size(), 0) << pattern;
}

} // namespace
