#include "localllm/ServiceManagerLaunchd.h"

#include "base/LocalizedError.h"

#include <QXmlStreamWriter>

#include <algorithm>

namespace vennic {

namespace {

constexpr int secondsBetweenStarts = 10;

ProgramCommand launchctl(const QStringList& arguments) { return {QStringLiteral("/bin/launchctl"), arguments}; }

/// A property list in XML, written entry by entry.
class PropertyList {
public:
    explicit PropertyList(QByteArray* to) : xml_(to) {
        xml_.setAutoFormatting(true);
        xml_.setAutoFormattingIndent(-1); // a tab
        xml_.writeStartDocument();
        xml_.writeDTD(QStringLiteral("<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                     "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">"));
        open("plist");
        xml_.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    }
    void open(const char* element) { xml_.writeStartElement(QString::fromLatin1(element)); }
    void close() { xml_.writeEndElement(); }
    void key(const QString& name) { text("key", name); }
    void string(const QString& value) { text("string", value); }
    void integer(int value) { text("integer", QString::number(value)); }
    void boolean(bool value) { xml_.writeEmptyElement(value ? QStringLiteral("true") : QStringLiteral("false")); }
    void end() { xml_.writeEndDocument(); }

private:
    void text(const char* element, const QString& value) {
        // XML 1.0, "Characters" and "End-of-Line Handling": what it can't say, and what would be read as a line feed.
        const auto isForbidden = [](QChar c) {
            return (c.unicode() < u' ' && c != u'\t' && c != u'\n') || c.isNonCharacter();
        };
        if (std::ranges::any_of(value, isForbidden) || !value.isValidUtf16())
            throw LocalizedError(
                QStringLiteral("Un chemin contient un caractère de contrôle, ce que le LaunchAgent ne peut pas dire."));
        xml_.writeTextElement(QString::fromLatin1(element), value);
    }

    QXmlStreamWriter xml_;
};

} // namespace

QByteArray ServiceManagerLaunchd::definition(const UserService& service) const {
    QByteArray bytes;
    PropertyList list(&bytes);
    list.open("dict");
    list.key(QStringLiteral("Label"));
    list.string(service.label);
    list.key(QStringLiteral("ProgramArguments"));
    list.open("array");
    for (const QString& argument : service.arguments)
        list.string(argument);
    list.close();
    list.key(QStringLiteral("EnvironmentVariables"));
    list.open("dict");
    for (const auto& [name, value] : service.environment) {
        list.key(name);
        list.string(value);
    }
    list.close();
    list.key(QStringLiteral("RunAtLoad"));
    list.boolean(true);
    list.key(QStringLiteral("KeepAlive"));
    list.open("dict");
    list.key(QStringLiteral("SuccessfulExit"));
    list.boolean(false);
    list.key(QStringLiteral("Crashed"));
    list.boolean(true);
    list.close();
    list.key(QStringLiteral("ThrottleInterval"));
    list.integer(secondsBetweenStarts);
    list.key(QStringLiteral("StandardOutPath"));
    list.string(service.logFile);
    list.key(QStringLiteral("StandardErrorPath"));
    list.string(service.logFile);
    list.key(QStringLiteral("ProcessType"));
    list.string(QStringLiteral("Interactive"));
    list.close();
    list.end();
    return bytes;
}

ProgramCommand ServiceManagerLaunchd::unload(const UserService& service) const {
    return launchctl({QStringLiteral("bootout"), target(service)});
}

std::vector<ProgramCommand> ServiceManagerLaunchd::load(const UserService& service) const {
    return {launchctl({QStringLiteral("bootstrap"), domain_, service.definitionFile})};
}

ProgramCommand ServiceManagerLaunchd::restart(const UserService& service) const {
    return launchctl({QStringLiteral("kickstart"), QStringLiteral("-k"), target(service)});
}

} // namespace vennic
