#include "app/CommandLine.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace vennic;

namespace {
ParsedCommandLine parse(std::initializer_list<const char*> arguments) {
    QStringList list;
    for (const char* argument : arguments)
        list.append(QString::fromUtf8(argument));
    return parseCommandLine(list);
}
} // namespace

TEST(CommandLine, withoutArgumentsStartsTheClient) {
    const auto parsed = parse({});
    EXPECT_FALSE(parsed.error);
    EXPECT_FALSE(parsed.line.verb);
}

TEST(CommandLine, aVerbKeepsItsArgumentsInOrder) {
    const auto parsed = parse({"search", "facture", "edf", "--json"});
    ASSERT_FALSE(parsed.error);
    EXPECT_EQ(parsed.line.verb, QStringLiteral("search"));
    EXPECT_EQ(parsed.line.arguments, QStringList({QStringLiteral("facture"), QStringLiteral("edf")}));
    EXPECT_TRUE(parsed.line.json);
}

TEST(CommandLine, afterTwoDashesNothingIsAnOption) {
    const auto parsed = parse({"search", "--", "--help", "-x"});
    ASSERT_FALSE(parsed.error);
    EXPECT_FALSE(parsed.line.help);
    EXPECT_EQ(parsed.line.arguments, QStringList({QStringLiteral("--help"), QStringLiteral("-x")}));
}

TEST(CommandLine, unknownWordsAreRefusedByName) {
    EXPECT_TRUE(parse({"danse"}).error->contains(QStringLiteral("danse")));
    EXPECT_TRUE(parse({"status", "--vite"}).error->contains(QStringLiteral("--vite")));
}

TEST(CommandLine, theNumberOfArgumentsIsChecked) {
    EXPECT_TRUE(parse({"pair"}).error);
    EXPECT_TRUE(parse({"pair", "A", "B"}).error);
    EXPECT_FALSE(parse({"pair", "A"}).error);
    EXPECT_TRUE(parse({"quit", "now"}).error);
    EXPECT_FALSE(parse({"share", "a", "b", "c"}).error);
}

TEST(CommandLine, theTokenIsNeverAnArgument) { EXPECT_TRUE(parse({"token", "secret"}).error); }

TEST(CommandLine, bridgeTakesOnlyOnAndOff) {
    EXPECT_FALSE(parse({"bridge", "on"}).error);
    EXPECT_FALSE(parse({"bridge", "off"}).error);
    EXPECT_TRUE(parse({"bridge", "ON"}).error);
}

TEST(CommandLine, photosTakesOnlyItsThreeWords) {
    for (const char* word : {"allow", "deny", "status"})
        EXPECT_FALSE(parse({"photos", word}).error) << word;
    EXPECT_TRUE(parse({"photos"}).error);
    EXPECT_TRUE(parse({"photos", "Allow"}).error);
    EXPECT_TRUE(parse({"photos", "allow", "deny"}).error);
    EXPECT_FALSE(parse({"photos", "status", "--json"}).error);
}

TEST(CommandLine, autostartTakesOnlyItsThreeWords) {
    for (const char* word : {"on", "off", "status"})
        EXPECT_FALSE(parse({"autostart", word, "--json"}).error) << word;
    EXPECT_TRUE(parse({"autostart"}).error);
    EXPECT_TRUE(parse({"autostart", "oui"}).error);
}

TEST(CommandLine, addressesStartTheClientWithThem) {
    const auto parsed = parse({"vennic://local/setup", "VENNIC://desktop/hallwarden_panel"});
    ASSERT_FALSE(parsed.error);
    EXPECT_FALSE(parsed.line.verb);
    EXPECT_TRUE(parsed.line.arguments.isEmpty());
    EXPECT_EQ(parsed.line.addresses, QStringList({QStringLiteral("vennic://local/setup"),
                                                  QStringLiteral("VENNIC://desktop/hallwarden_panel")}));
    EXPECT_TRUE(parse({"vennic://local/setup", "https://ailleurs"}).error);
    EXPECT_TRUE(parse({"https://ailleurs"}).error);
    EXPECT_TRUE(parse({"vennic://local/setup", "--json"}).error);
}

TEST(CommandLine, modelTakesAWordAndWhereItNeedsOneAValue) {
    for (const char* word : {"on", "off", "status", "install", "detect"}) {
        EXPECT_FALSE(parse({"model", word}).error) << word;
        EXPECT_TRUE(parse({"model", word, "more"}).error) << word;
    }
    for (const char* word : {"endpoint", "name", "download"}) {
        EXPECT_FALSE(parse({"model", word, "x"}).error) << word;
        EXPECT_TRUE(parse({"model", word}).error) << word;
        EXPECT_TRUE(parse({"model", word, ""}).error) << word;
    }
    EXPECT_TRUE(parse({"model"}).error);
    EXPECT_TRUE(parse({"model", "ON"}).error);
    EXPECT_FALSE(parse({"model", "status", "--json"}).error);
    EXPECT_FALSE(parse({"model", "install", "--json"}).error);
}

TEST(CommandLine, jsonIsForVerbsThatPrintData) {
    EXPECT_FALSE(parse({"status", "--json"}).error);
    EXPECT_TRUE(parse({"quit", "--json"}).error);
    EXPECT_TRUE(parse({"--json"}).error);
}

TEST(CommandLine, onlyAQuestionIsForTheLocalModel) {
    const auto parsed = parse({"ask", "--local", "à", "toi"});
    EXPECT_FALSE(parsed.error);
    EXPECT_TRUE(parsed.line.local);
    EXPECT_EQ(parsed.line.arguments, (QStringList{QStringLiteral("à"), QStringLiteral("toi")}));
    EXPECT_FALSE(parse({"ask", "--", "--local"}).line.local);
    EXPECT_EQ(parse({"search", "--local", "x"}).error, QStringLiteral("« search » n'a pas d'option --local."));
    EXPECT_EQ(parse({"--local"}).error, QStringLiteral("--local accompagne une commande."));
    EXPECT_TRUE(helpText(QStringLiteral("ask")).contains(QStringLiteral("\n  --local  fait répondre")));
    EXPECT_FALSE(helpText(QStringLiteral("search")).contains(QStringLiteral("--local")));
}

TEST(CommandLine, helpNeedsNoArguments) {
    const auto parsed = parse({"pair", "--help"});
    EXPECT_FALSE(parsed.error);
    EXPECT_TRUE(parsed.line.help);
}

TEST(CommandLine, aHugeLineIsRefused) {
    QStringList arguments{QStringLiteral("search")};
    for (int i = 0; i < 5000; ++i)
        arguments.append(QStringLiteral("mot"));
    EXPECT_TRUE(parseCommandLine(arguments).error);
    EXPECT_TRUE(parseCommandLine({QStringLiteral("search"), QString(70'000, QLatin1Char('x'))}).error);
}

TEST(CommandLine, theHelpNamesEveryOption) {
    const QString help = helpText(std::nullopt);
    for (const char* option : {"--json", "--local", "--help", "--version", "-- "})
        EXPECT_TRUE(help.contains(QStringLiteral("\n  ") + QLatin1String(option))) << option;
}

TEST(CommandLine, theArgumentsOfEveryVerbAreShownAsTheyAreSpelled) {
    for (const Verb& verb : verbs()) { // Latin-1 would mangle anything else
        const auto isAscii = [](char c) { return c >= ' ' && c <= '~'; };
        EXPECT_TRUE(std::all_of(verb.arguments.begin(), verb.arguments.end(), isAscii)) << verb.name.data();
    }
}

TEST(CommandLine, everyVerbHasHelpThatNamesIt) {
    for (const Verb& verb : verbs()) {
        const QString help = helpText(QString(verb.name));
        EXPECT_TRUE(help.startsWith(QStringLiteral("Usage : vennic ") + verb.name)) << verb.name.data();
        EXPECT_TRUE(helpText(std::nullopt).contains(QStringLiteral("  ") + verb.name)) << verb.name.data();
    }
}
