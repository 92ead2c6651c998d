#include "shortcuts/Automations.h"

#include "shortcuts/FrenchOrder.h"

#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace vennic::shortcuts;
using State = Automation::State;

namespace {

struct AutomationsTest : ::testing::Test {
    QTemporaryDir temporary;
    std::string folder = temporary.path().toStdString();

    void file(const std::string& name, mode_t mode = 0755) const {
        std::ofstream(folder + '/' + name) << "#!/bin/sh\n";
        ASSERT_EQ(::chmod((folder + '/' + name).c_str(), mode), 0) << name;
    }
    std::vector<std::string> names(State state = State::runnable) const {
        std::vector<std::string> names;
        for (const Automation& automation : automationsIn(folder)) {
            if (automation.state == state)
                names.push_back(automation.name);
        }
        std::ranges::sort(names);
        return names;
    }
    std::string failure() const {
        try {
            automationsIn(folder);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return {};
    }
};

using Names = std::vector<std::string>;

Names named(const Names& files) {
    std::vector<Automation> automations;
    for (const std::string& file : files)
        automations.push_back({.file = file, .name = {}});
    giveNames(automations);
    Names names;
    for (const Automation& automation : automations)
        names.push_back(automation.name);
    return names;
}

} // namespace

TEST_F(AutomationsTest, theNameIsTheFilesWithoutItsEnding) {
    EXPECT_EQ(nameWithoutEnding("sauvegarde.sh"), "sauvegarde");
    EXPECT_EQ(nameWithoutEnding("sauvegarde"), "sauvegarde");
    EXPECT_EQ(nameWithoutEnding("a.b.py"), "a.b");
    EXPECT_EQ(nameWithoutEnding("Éteindre l'écran.sh"), "Éteindre l'écran");
    EXPECT_EQ(nameWithoutEnding("x.AppImage"), "x");
    EXPECT_EQ(nameWithoutEnding("-x.sh"), "-x");
    EXPECT_EQ(nameWithoutEnding("x.abcdefghijklmnop"), "x");
}

TEST_F(AutomationsTest, whatFollowsADotIsNotAlwaysAnEnding) {
    for (const char* file :
         {"Version 1.2", "M. Dupont", "a.", "..", ".sh", "a.é", "a.b c", "a.x-y", "a.abcdefghijklmnopq"})
        EXPECT_EQ(nameWithoutEnding(file), file);
}

TEST_F(AutomationsTest, filesThatWouldShareANameKeepTheirEndings) {
    EXPECT_EQ(named({"backup.sh", "backup.py", "autre.sh"}), (Names{"backup.sh", "backup.py", "autre"}));
    EXPECT_EQ(named({"backup", "backup.py"}), (Names{"backup", "backup.py"}));
    EXPECT_EQ(named({"x.sh", "x.py", "x.sh.rb"}), (Names{"x.sh", "x.py", "x.sh.rb"}));
    EXPECT_EQ(named({"x.sh", "x.sh.py"}), (Names{"x", "x.sh"}));
    EXPECT_EQ(named({"x .sh", "y\u00a0.sh"}), (Names{"x .sh", "y\u00a0.sh"}));
}

TEST_F(AutomationsTest, aFileThatCannotRunTakesNoNameAway) {
    file("backup.sh");
    file("backup.txt", 0644);
    EXPECT_EQ(names(), Names{"backup"});
    EXPECT_EQ(names(State::notExecutable), Names{"backup"});
}

TEST_F(AutomationsTest, onlyExecutableFilesAndLinksToThemRun) {
    file("prog.sh");
    file("texte.txt", 0644);
    file("cible", 0700);
    std::filesystem::create_directory(folder + "/dossier");
    std::filesystem::create_symlink("cible", folder + "/lien.sh");
    std::filesystem::create_symlink("absent", folder + "/rompu");
    std::filesystem::create_symlink("dossier", folder + "/vers un dossier");
    std::filesystem::create_symlink("boucle", folder + "/boucle");
    ASSERT_EQ(::mkfifo((folder + "/tube").c_str(), 0700), 0);
    EXPECT_EQ(names(), (Names{"cible", "lien", "prog"}));
    EXPECT_EQ(names(State::notExecutable), Names{"texte"});
}

TEST_F(AutomationsTest, whatOthersMayChangeDoesNotRun) {
    file("moi", 0755);
    file("groupe", 0775);
    file("tous", 0757);
    EXPECT_EQ(names(), (Names{"groupe", "moi"}));
    EXPECT_EQ(names(State::changeableByOthers), Names{"tous"});
    if (::geteuid() == 0) {
        file("autrui");
        ASSERT_EQ(::chown((folder + "/autrui").c_str(), 12345, 12345), 0);
        EXPECT_EQ(names(State::changeableByOthers), (Names{"autrui", "tous"}));
    }
}

TEST_F(AutomationsTest, inAFolderThatOthersMayChangeNothingRuns) {
    file("moi");
    ASSERT_EQ(::chmod(folder.c_str(), 0777), 0);
    EXPECT_EQ(failure(),
              "Le dossier " + folder +
                  " appartient à quelqu'un d'autre ou est ouvert à tous en écriture : rien n'y est exécuté.");
    ASSERT_EQ(::chmod(folder.c_str(), 0775), 0);
    EXPECT_EQ(names(), Names{"moi"});
}

TEST_F(AutomationsTest, anAbsentFolderIsEmptyAndAFileInItsPlaceIsAFailure) {
    const std::string whole = folder;
    folder = whole + "/absent";
    EXPECT_EQ(names(), Names{});
    folder = whole;
    file("fichier");
    folder += "/fichier";
    EXPECT_TRUE(failure().starts_with("Le dossier " + folder + " ne peut pas être lu : ")) << failure();
}

TEST_F(AutomationsTest, namesThatALineCannotCarryAreLeftOut) {
    Names expected;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string c(1, static_cast<char>(byte));
        if (c == "/")
            continue;
        file(c + "x");
        if (byte >= '!' && byte < 127 && c != ".")
            expected.push_back(c + "x");
    }
    for (const char* name :
         {"é", "a b", "Œuvre 日本", "a..b", "y\u00a0", "\u2003y", "\u0085", "a\u009bb", "bon\u00a0jour"})
        file(name);
    for (const char* name : {"a b", "é", "Œuvre 日本", "bon\u00a0jour"})
        expected.emplace_back(name);
    expected.emplace_back("a."); // the ending of "a..b" is "b"
    std::ranges::sort(expected);
    EXPECT_EQ(names(), expected);
}

TEST_F(AutomationsTest, namesAreSortedAsAFrenchReaderExpects) {
    Names sorted{"zèbre", "Été", "photo 10", "eau", "photo 2", "été", "Zoé", "etude", "œuvre", "ode", "-x"};
    sortAsFrench(sorted);
    EXPECT_EQ(sorted,
              (Names{"-x", "eau", "été", "Été", "etude", "ode", "œuvre", "photo 2", "photo 10", "zèbre", "Zoé"}));
}
