#include "base/InlineMarkdown.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

/// The runs in one line: *emphasis*, **strong**, `code`, {text|address}.
QString shape(const QString& line) {
    QString text;
    for (const MarkdownRun& run : parseInlineMarkdown(line)) {
        QString part = run.text;
        if (run.code)
            part = QStringLiteral("<code>") + part + QStringLiteral("</code>");
        if (run.emphasis)
            part = QStringLiteral("<em>") + part + QStringLiteral("</em>");
        if (run.strong)
            part = QStringLiteral("<b>") + part + QStringLiteral("</b>");
        if (!run.link.isEmpty())
            part = QStringLiteral("{%1|%2}").arg(part, run.link);
        text += part;
    }
    return text;
}

struct Row {
    const char* markdown;
    const char* expected;
};

void expectRows(std::initializer_list<Row> rows) {
    for (const Row& row : rows)
        EXPECT_EQ(shape(QString::fromUtf8(row.markdown)), QString::fromUtf8(row.expected)) << row.markdown;
}

TEST(InlineMarkdown, plainTextStaysAsItIs) {
    expectRows({{"", ""},
                {"bonjour", "bonjour"},
                {"  deux  blancs  ", "  deux  blancs  "},
                {"2 * 3 * 4", "2 * 3 * 4"},
                {"a_b_c", "a_b_c"},
                {"# titre", "# titre"},
                {"- liste", "- liste"},
                {"| a | b |", "| a | b |"},
                {"été — « œuvre » 🎉", "été — « œuvre » 🎉"},
                {"<b>x</b> &amp;", "<b>x</b> &amp;"}});
}

TEST(InlineMarkdown, starsAndUnderscoresAreEmphasis) {
    expectRows({{"*a*", "<em>a</em>"},
                {"**a**", "<b>a</b>"},
                {"_a_ __b__", "<em>a</em> <b>b</b>"},
                {"***a***", "<b><em>a</em></b>"},
                {"**a *b* c**", "<b>a </b><b><em>b</em></b><b> c</b>"},
                {"mot**gras**mot", "mot<b>gras</b>mot"},
                {"« *a* »", "« <em>a</em> »"},
                {"**bold**.", "<b>bold</b>."},
                {"*a**", "<em>a</em>*"},
                {"**a*", "*<em>a</em>"},
                {"*a", "*a"},
                {"a*", "a*"},
                {"** a**", "** a**"},
                {"*(*a*)*", "<em>(a)</em>"},
                {"foo*bar*baz *x* _y_", "foo<em>bar</em>baz <em>x</em> <em>y</em>"},
                {"*foo _bar* baz_", "<em>foo _bar</em> baz_"},
                {"*a *b* c", "*a <em>b</em> c"}});
}

TEST(InlineMarkdown, backticksAreCode) {
    expectRows({{"`a*b*`", "<code>a*b*</code>"},
                {"``a`b``", "<code>a`b</code>"},
                {"` `` `", "<code>``</code>"},
                {"`a", "`a"},
                {"``a`", "``a`"},
                {"`\\`x", "<code>\\</code>x"},
                {"**`a`**", "<b><code>a</code></b>"}});
}

TEST(InlineMarkdown, aBackslashTakesPunctuationLiterally) {
    expectRows({{"\\*a\\*", "*a*"}, {"\\a", "\\a"}, {"\\\\", "\\"}, {"\\[a](b)", "[a](b)"}, {"a\\", "a\\"}});
}

TEST(InlineMarkdown, linksLeadWhereTheyLead) {
    expectRows({{"[a](http://x.fr/)", "{a|http://x.fr/}"},
                {"[a](vennic://local_file/open/ID) b", "{a|vennic://local_file/open/ID} b"},
                {"[a](<x y>)", "{a|x y}"},
                {"[a](x \"titre (1)\")", "{a|x}"},
                {"[a](x 'titre')", "{a|x}"},
                {"[a](f(x))", "{a|f(x)}"},
                {"[a](x\\)y)", "{a|x)y}"},
                {"[*a* b](x)", "{<em>a</em>|x}{ b|x}"},
                {"*[a](x)*", "{<em>a</em>|x}"},
                {"[a [b](x) c](y)", "[a {b|x} c](y)"},
                {"[a]", "[a]"},
                {"[a](x", "[a](x"},
                {"[a](x \"t)", "[a](x \"t)"},
                {"[a] (x)", "[a] (x)"},
                {"a](x)", "a](x)"},
                {"[`]`](x)", "{<code>]</code>|x}"},
                {"<https://x.fr>", "{https://x.fr|https://x.fr}"},
                {"<mailto:a@b.fr>", "{mailto:a@b.fr|mailto:a@b.fr}"},
                {"<a b:c>", "<a b:c>"},
                {"<1a:x>", "<1a:x>"},
                {"1 < 2", "1 < 2"},
                {"https://x.fr", "https://x.fr"}});
}

TEST(InlineMarkdown, anEmptyAddressIsTextWithoutALink) { expectRows({{"[a]()", "a"}}); }

TEST(InlineMarkdown, anImageIsTheTextThatStandsForIt) {
    expectRows({{"![photo](http://evil/x.png)", "photo"},
                {"![](http://evil/x.png)", ""},
                {"![a *b*](x) c", "a <em>b</em> c"},
                {"[![a](img)](y)", "{a|y}"},
                {"!a", "!a"}});
}

TEST(InlineMarkdown, hostileLinesEndSoon) {
    constexpr qsizetype size = 60'000;
    for (const char* pattern : {"*",   "_",   "`",  "[",      "]",     "![",        "](", "[](", "*a ", "*a_",
                                "**a", "<a:", "\\", "[a](x)", "`a``b", "*a**b***c", "a*", "_a*", "[*",  "*]"}) {
        const QString line = QString::fromUtf8(pattern).repeated(size / static_cast<qsizetype>(strlen(pattern)));
        qsizetype characters = 0;
        for (const MarkdownRun& run : parseInlineMarkdown(line))
            characters += run.text.size();
        EXPECT_LE(characters, line.size()) << pattern;
    }
}

TEST(InlineMarkdown, aLineBeyondItsBoundIsPlain) {
    const QString line = QStringLiteral("*a* ").repeated(20'000);
    const auto runs = parseInlineMarkdown(line);
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].text, line);
}

} // namespace
} // namespace vennic
