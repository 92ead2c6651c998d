#include "linux/Terminal.h"

#include "base/LocalizedError.h"
#include "base/SecretText.h"
#include "base/ShownText.h"

#include <QStringDecoder>

#include <termios.h>
#include <unistd.h>

namespace vennic {

namespace {

constexpr qsizetype maxLine = qsizetype{16} * 1024;

void writeAll(int descriptor, const QString& text) {
    // Names of files and words of the backend may hold sequences that command a terminal: none gets through to one.
    const QByteArray bytes = (::isatty(descriptor) == 1 ? drawableText(text) : text).toUtf8();
    for (qsizetype at = 0; at < bytes.size();) {
        const ssize_t count = ::write(descriptor, bytes.constData() + at, static_cast<std::size_t>(bytes.size() - at));
        if (count <= 0)
            return; // nobody reads any more
        at += count;
    }
}

/// Keeps what is typed off the screen while it lives.
class Silence {
public:
    Silence() {
        quiet_ = ::isatty(STDIN_FILENO) == 1 && ::tcgetattr(STDIN_FILENO, &before_) == 0;
        if (!quiet_)
            return;
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence() {
        if (quiet_)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    }
    bool isTerminal() const { return quiet_; }

private:
    termios before_{};
    bool quiet_ = false;
};

} // namespace

void writeOutput(const QString& text) { writeAll(STDOUT_FILENO, text); }

void writeError(const QString& text) { writeAll(STDERR_FILENO, text); }

QString readSecretLine(const QString& prompt) {
    const Silence silence;
    if (silence.isTerminal())
        writeError(prompt);
    QByteArray line;
    line.reserve(maxLine + 1); // no reallocation leaves a copy behind
    char c = 0;
    while (::read(STDIN_FILENO, &c, 1) == 1 && c != '\n') {
        line.append(c);
        if (line.size() > maxLine)
            throw LocalizedError(QStringLiteral("Le jeton lu sur l'entrée standard est trop long."));
    }
    if (silence.isTerminal())
        writeError(QStringLiteral("\n"));
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(line);
    wipe(line);
    if (decoder.hasError())
        throw LocalizedError(QStringLiteral("Le jeton lu sur l'entrée standard n'est pas du texte UTF-8."));
    return text;
}

} // namespace vennic
