#include "server/Options.h"

#include "base/LocalizedError.h"

#include <gtest/gtest.h>

namespace vennic::server::test {

namespace {
Options read(const char* words) { return readOptions(QString::fromUtf8(words).split(u' ')); }
} // namespace

TEST(OptionsTest, readsEveryOption) {
    const Options options = read("--data /d --listen [::1]:8443 --host maison.local --host=10.0.0.2 --ready-file /r "
                                 "--owner-email moi@maison --task-timeout 5");
    EXPECT_EQ(options.data, QStringLiteral("/d"));
    EXPECT_EQ(options.listenAddress, QStringLiteral("::1"));
    EXPECT_EQ(options.listenPort, 8443);
    EXPECT_EQ(options.hosts, (QStringList{QStringLiteral("maison.local"), QStringLiteral("10.0.0.2")}));
    EXPECT_EQ(options.readyFile, QStringLiteral("/r"));
    EXPECT_EQ(options.ownerEmail, QStringLiteral("moi@maison"));
    EXPECT_EQ(options.taskTimeout, std::chrono::seconds{5});
}

TEST(OptionsTest, listensOnLoopbackOnAnyPortByDefault) {
    const Options options = read("--data /d");
    EXPECT_EQ(options.listenAddress, QStringLiteral("127.0.0.1"));
    EXPECT_EQ(options.listenPort, 0);
    EXPECT_EQ(options.taskTimeout, std::chrono::seconds{60});
}

TEST(OptionsTest, helpNeedsNoFolder) {
    EXPECT_TRUE(read("--help").help);
    EXPECT_TRUE(read("--version").version);
    EXPECT_TRUE(optionsHelp().contains(QStringLiteral("--task-timeout")));
}

TEST(OptionsTest, readsWhoAnswers) {
    const Options options = read("--data /d --model-url https://modele.exemple/v1 --model a/b --model-on-machine");
    EXPECT_EQ(options.answering, (AnswerChoice{Answerer::Server, QStringLiteral("https://modele.exemple/v1"),
                                               QStringLiteral("a/b"), SecretText()}));
    EXPECT_EQ(read("--data /d --model-on-machine").answering, (AnswerChoice{Answerer::Machine, {}, {}, {}}));
    EXPECT_FALSE(read("--data /d").answering);
    for (const char* words :
         {"--data /d --model a", "--data /d --model-key-file /k", "--data /d --model-url http://modele.exemple",
          "--data /d --model-url https://a --model-key-file /none"})
        EXPECT_THROW(read(words), LocalizedError) << words;
}

TEST(OptionsTest, refusesWhatItCannotUse) {
    for (const char* words :
         {"--listen 127.0.0.1:1", "--data", "--data= --host a", "--data /d --listen 8443", "--data /d --listen :70000",
          "--data /d --listen a:99999", "--data /d --task-timeout 0", "--data /d --task-timeout x",
          "--data /d --host a,IP:1.2.3.4", "--data /d --what 1", "--data /d stray"})
        EXPECT_THROW(read(words), LocalizedError) << words;
}

} // namespace vennic::server::test
