#include "linux/worker/WorkerLane.h"
#include "worker/WorkerFolder.h"

#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

// A sanitizer's run-time doesn't work beside a tracer.
#if !defined(VENNIC_SANITIZED)

namespace {

/// What a boxed program did from its start to its end, one system call a line, while it was asked for one document.
QStringList callsOf(const QString& program, const DocumentWorkerOptions& options, wire::Form form,
                    const wire::Parameters& parameters, const QString& document) {
    const WorkerFolder folder;
    const QString trace = folder.path(QStringLiteral("trace"));
    const QString wrapped = folder.add(QStringLiteral("wrapped"), "#!/bin/sh\nexec strace -f -o '" + trace.toUtf8() +
                                                                      "' '" + program.toUtf8() + "'\n");
    QFile(wrapped).setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    DocumentWorkerOptions traced = options;
    traced.executable = wrapped;
    {
        WorkerLane lane(traced);
        EXPECT_FALSE(lane.ask(form, parameters, OpenedDocument(document, wire::mostMappedBytes)).body.isEmpty());
    }
    return QString::fromUtf8(fileBytes(trace)).split(u'\n');
}

qsizetype firstOf(const QStringList& calls, const char* pattern) {
    const QRegularExpression expression(QString::fromLatin1(pattern));
    const auto found = std::ranges::find_if(calls, [&](const QString& call) { return call.contains(expression); });
    return found == calls.end() ? -1 : found - calls.begin();
}

void expectLockedBeforeTheFirstForeignByte(const QStringList& calls) {
    const qsizetype files = firstOf(calls, R"(^\d+ +landlock_restrict_self\(.*= 0$)");
    const qsizetype filter = firstOf(calls, R"(^\d+ +seccomp\(SECCOMP_SET_MODE_FILTER, 0, .*= 0$)");
    const qsizetype hello = firstOf(calls, R"(^\d+ +write\(3, )");
    const qsizetype request = firstOf(calls, R"(^\d+ +(recvmsg|recvfrom|read)\(3, )");
    ASSERT_GE(files, 0);
    ASSERT_GE(request, 0);
    EXPECT_LT(files, filter);
    EXPECT_LT(filter, hello);
    EXPECT_LT(hello, request);
}

/// All that the program opened of the system once it was locked lies in these folders.
void expectOpenedOnlyIn(const QStringList& folders, const QStringList& calls) {
    static const QRegularExpression opened(QStringLiteral("openat\\(AT_FDCWD, \"([^\"]*)\".*= \\d+$"));
    for (const QString& call : calls.mid(std::max<qsizetype>(0, firstOf(calls, R"(MODE_FILTER, 0, .*= 0$)")))) {
        const auto match = opened.match(call);
        const bool isExpected =
            std::ranges::any_of(folders, [&](const QString& folder) { return match.captured(1).startsWith(folder); });
        EXPECT_TRUE(!match.hasMatch() || isExpected) << call.toStdString();
    }
}

QString document(const char* name) { return dataFolder() + QStringLiteral("/documents/") + QString::fromLatin1(name); }

bool hasTracer() { return !QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty(); }

} // namespace

TEST(LockDownOrder, theProgramForTextsIsLockedBeforeItReceivesADocument) {
    ASSERT_TRUE(hasTracer()) << "no strace";
    const QStringList calls = callsOf(workerProgram(), DocumentWorkerOptions::interactive({}), wire::Form::pdf,
                                      {.mostCharacters = 1000}, document("accents.pdf"));
    expectLockedBeforeTheFirstForeignByte(calls);
    expectOpenedOnlyIn({QStringLiteral("/usr/share/poppler/")}, calls);
}

TEST(LockDownOrder, theProgramForPicturesIsLockedBeforeItReceivesADocument) {
    ASSERT_TRUE(hasTracer()) << "no strace";
    const QStringList calls = callsOf(pictureWorkerProgram(), DocumentWorkerOptions::pictures({}),
                                      wire::Form::pdfPageScan, {}, document("accents.pdf"));
    expectLockedBeforeTheFirstForeignByte(calls);
    expectOpenedOnlyIn({QStringLiteral("/usr/share/fonts/"), QStringLiteral("/usr/share/tesseract-ocr/"),
                        QStringLiteral("/usr/share/poppler/")},
                       calls);
}

#endif
