#pragma once
#include "fakes/UntilStopped.h"
#include "ports/TextRecognizer.h"

#include <QHash>
#include <QMutex>

#include <atomic>
#include <variant>
#include <vector>

namespace vennic::test {

/// Images and PDFs kept in memory. A path that holds none raises as a missing file does.
class TextRecognizerFake final : public TextRecognizer {
public:
    struct Failure {
        DocumentFault fault;
        QString description;
    };
    /// A layer that isn't there is empty; a scan is what recognition makes of the page's picture.
    struct Page {
        std::variant<QString, Failure> layer;
        std::variant<QString, Failure> scan;
    };

    static QStringList languages() { return {QStringLiteral("fr-FR"), QStringLiteral("en-US")}; }

    void addImage(const QString& path, const QString& text) { images_.insert(path, text); }
    void addImage(const QString& path, const Failure& failure) { images_.insert(path, failure); }
    void addPdf(const QString& path, std::vector<Page> pages) { pdfs_.insert(path, std::move(pages)); }
    void addPdf(const QString& path, const Failure& failure) { pdfs_.insert(path, failure); }
    void remove(const QString& path) {
        images_.remove(path);
        pdfs_.remove(path);
    }
    /// "image /path", "text /path 0", "recognize /path 0" and so on, in order.
    QStringList asked() const {
        const QMutexLocker lock(&guard_);
        return asked_;
    }
    /// Called with each of them, before it is answered.
    std::function<void(const QString& asked)> onAsked;
    /// One of them that takes until it is told to stop, and then fails.
    std::optional<QString> endless;
    /// How often that happened.
    std::atomic<int> givenUp = 0;

    RecognizedText image(const QString& path, std::stop_token stop) override {
        note(QStringLiteral("image ") + path, stop);
        const auto found = images_.constFind(path);
        if (found == images_.constEnd())
            throw pdfs_.contains(path) ? unparsable() : missing();
        return {valueOf(*found), languages()};
    }

    std::unique_ptr<PdfPages> openPdf(const QString& path, std::stop_token stop) override {
        note(QStringLiteral("open ") + path, stop);
        const auto found = pdfs_.constFind(path);
        if (found == pdfs_.constEnd())
            throw images_.contains(path) ? unparsable() : missing();
        const std::vector<Page>& pages = valueOf(*found);
        if (pages.empty())
            throw unparsable();
        return std::make_unique<Pages>(*this, path, pages, std::move(stop));
    }

private:
    class Pages final : public PdfPages {
    public:
        Pages(TextRecognizerFake& fake, const QString& path, std::vector<Page> pages, std::stop_token stop)
            : fake_(fake), path_(path), pages_(std::move(pages)), stop_(std::move(stop)) {}
        qint64 count() const override { return static_cast<qint64>(pages_.size()); }
        QString text(qint64 page) override { return valueOf(asked("text", page).layer); }
        RecognizedText recognize(qint64 page) override { return {valueOf(asked("recognize", page).scan), languages()}; }

    private:
        const Page& asked(const char* what, qint64 page) {
            fake_.note(QStringLiteral("%1 %2 %3").arg(QLatin1String(what), path_).arg(page), stop_);
            if (page < 0 || page >= count())
                throw unparsable();
            return pages_[static_cast<std::size_t>(page)];
        }

        TextRecognizerFake& fake_;
        QString path_;
        std::vector<Page> pages_;
        std::stop_token stop_;
    };

    static DocumentReadError missing() {
        return {DocumentFault::unreadable, QStringLiteral("Le fichier n'existe pas.")};
    }
    static DocumentReadError unparsable() {
        return {DocumentFault::unparsable, QStringLiteral("Le document n'a pas la forme attendue.")};
    }
    template <class Value>
    static const Value& valueOf(const std::variant<Value, Failure>& entry) {
        if (const auto* failure = std::get_if<Failure>(&entry))
            throw DocumentReadError(failure->fault, failure->description);
        return std::get<Value>(entry);
    }
    void note(const QString& what, const std::stop_token& stop) {
        {
            const QMutexLocker lock(&guard_);
            asked_.append(what);
        }
        if (onAsked)
            onAsked(what);
        if (what != endless)
            return;
        waitUntilStopped(stop);
        ++givenUp;
        throw DocumentReadError(DocumentFault::worker, QStringLiteral("La lecture a été abandonnée."));
    }

    QHash<QString, std::variant<QString, Failure>> images_;
    QHash<QString, std::variant<std::vector<Page>, Failure>> pdfs_;
    mutable QMutex guard_;
    QStringList asked_;
};

} // namespace vennic::test
