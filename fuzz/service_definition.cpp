#include "base/LocalizedError.h"
#include "linux/ServiceManagerSystemd.h"
#include "localllm/ServiceManagerLaunchd.h"

#include <QXmlStreamReader>

#include <cstdint>
#include <cstdlib>

using namespace vennic;

namespace {

void expect(bool holds) {
    if (!holds)
        std::abort();
}

/// The words of a line, as systemd.syntax(7) and systemd.unit(5) have them read: quotes, escapes, doubled percent
/// signs.
QList<QByteArray> wordsOf(const QByteArray& line) {
    QList<QByteArray> words;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line[i] == '"') {
            quoted = !quoted;
            if (quoted)
                words.append(QByteArray(""));
        } else if (!quoted) {
            expect(line[i] == ' ');
        } else if (line[i] == '\\') {
            if (line[++i] == 'x') {
                words.last() += static_cast<char>(line.mid(i + 1, 2).toInt(nullptr, 16));
                i += 2;
            } else {
                words.last() += line[i];
            }
        } else {
            if (line[i] == '%')
                expect(line[++i] == '%');
            words.last() += line[i];
        }
    }
    expect(!quoted);
    return words;
}

void readUnit(const UserService& service, const QByteArray& unit) {
    QList<QByteArray> arguments;
    QList<QByteArray> variables;
    int lines = 0;
    for (const QByteArray& line : unit.split('\n')) {
        ++lines;
        if (line.startsWith("ExecStart=:"))
            arguments += wordsOf(line.mid(11));
        if (line.startsWith("Environment="))
            variables += wordsOf(line.mid(12));
    }
    expect(lines == 29); // nothing that was given begins a line of its own
    expect(arguments.size() == service.arguments.size() && variables.size() == 1);
    for (qsizetype i = 0; i < arguments.size(); ++i)
        expect(arguments[i] == service.arguments[i].toUtf8());
    expect(variables[0] == "HOME=" + service.environment[0].second.toUtf8());
}

void readPropertyList(const UserService& service, const QByteArray& list) {
    QXmlStreamReader xml(list);
    QStringList strings;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("string"))
            strings.append(xml.readElementText());
    }
    expect(!xml.hasError() && strings.size() == 7);
    // A reader of XML takes every end of a line for a line feed, unless it was written as a character reference.
    expect(strings[1] == service.arguments[0] && strings[2] == service.arguments[1]);
    expect(strings[3] == service.environment[0].second && strings[4] == service.logFile);
}

} // namespace

/// A home folder in UTF-8: what is written of it is read again as it was, or it is refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString home = u'/' + QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const UserService service{.label = QStringLiteral("label"),
                              .definitionFile = home,
                              .arguments = {home + QStringLiteral("/server"), home},
                              .environment = {{QStringLiteral("HOME"), home}},
                              .logFile = home + QStringLiteral("/log")};
    try {
        readUnit(service, ServiceManagerSystemd(QStringLiteral("/systemctl")).definition(service));
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): it was refused
    }
    // Behind a program of a plain name there is nothing that a unit can't say.
    UserService plain = service;
    plain.arguments[0] = QStringLiteral("/server");
    plain.logFile = QStringLiteral("/log");
    readUnit(plain, ServiceManagerSystemd(QStringLiteral("/systemctl")).definition(plain));
    try {
        readPropertyList(service, ServiceManagerLaunchd(1).definition(service));
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): it was refused
    }
    return 0;
}
