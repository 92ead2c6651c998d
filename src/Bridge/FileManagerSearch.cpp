#include "Bridge/FileManagerSearch.h"

#include "base/Pool.h"
#include "base/StableSort.h"
#include "base/TextFolding.h"

#include <algorithm>
#include <array>
#include <stop_token>
#include <utility>

namespace vennic {

namespace {

struct Order {
    QStringList foldedTokens;
    std::vector<FileURL> folders;
    qint64 limit = 0;
    qint64 maxEntries = 0;
};

/// One walk over all folders; lives on the pool.
class Walker {
public:
    Walker(std::shared_ptr<FileSystem> files, std::shared_ptr<FileTypes> types, Order order, std::stop_token stop)
        : files_(std::move(files)), types_(std::move(types)), order_(std::move(order)), stop_(std::move(stop)),
          cap_(raisedLimit(order_.limit)), home_(files_->homeDirectory()) {}

    std::vector<SearchResult> run() {
        for (const FileURL& folder : order_.folders) {
            if (!walk(folder))
                break;
        }
        std::vector<SearchResult> newest = stablySorted(std::move(hits_), comesFirst);
        keepFirst(newest, order_.limit);
        return newest;
    }

private:
    /// False when the whole search has to end.
    bool walk(const FileURL& folder) {
        const auto entries = files_->walk(folder.path);
        if (!entries)
            return true;
        qint64 count = 0;
        while (auto path = entries->next()) {
            if (stop_.stop_requested())
                return false;
            if (count >= order_.maxEntries)
                return true;
            if (static_cast<qint64>(hits_.size()) >= cap_)
                return false;
            ++count;
            consider(FileURL{*std::move(path)});
        }
        return true;
    }

    void consider(FileURL url) {
        QString name = url.lastPathComponent();
        if (name.startsWith(u'.'))
            return;
        const QString folded = foldedForComparison(name);
        const bool all =
            std::ranges::all_of(order_.foldedTokens, [&](const QString& token) { return folded.contains(token); });
        if (!all)
            return;
        const auto values = files_->values(url.path);
        const QString type = values ? types_->typeForFile(name, values->isDirectory) : QStringLiteral("public.data");
        const QString parent = displayPath(url.deletingLastPathComponent().path, home_);
        hits_.push_back({.url = std::move(url),
                         .name = std::move(name),
                         .mime = FileManagerSearch::mimeFromUTI(type),
                         .size = values ? values->size.value_or(0) : 0,
                         .modifiedAt = values ? values->changedAt : std::nullopt,
                         .isRemote = values && !values->volumeIsLocal.value_or(true),
                         .parentDisplay = parent});
    }

    static bool comesFirst(const SearchResult& a, const SearchResult& b) {
        const qint64 left = sortingMoment(a);
        const qint64 right = sortingMoment(b);
        if (left != right)
            return left > right;
        // Code points in canonical composition, and UTF-8 keeps their order.
        return a.name.normalized(QString::NormalizationForm_C).toUtf8() <
               b.name.normalized(QString::NormalizationForm_C).toUtf8();
    }

    std::shared_ptr<FileSystem> files_;
    std::shared_ptr<FileTypes> types_;
    Order order_;
    std::stop_token stop_;
    qint64 cap_;
    QString home_;
    std::vector<SearchResult> hits_;
};

} // namespace

Task<std::vector<SearchResult>> FileManagerSearch::search(QStringList tokens, std::vector<FileURL> folders,
                                                          qint64 limit, qint64 maxEntries) const {
    auto work = [](std::stop_token stop, std::shared_ptr<FileSystem> files, std::shared_ptr<FileTypes> types,
                   Order order) {
        for (QString& token : order.foldedTokens)
            token = foldedForComparison(token);
        return Walker(std::move(files), std::move(types), std::move(order), std::move(stop)).run();
    };
    Order order{std::move(tokens), std::move(folders), limit, maxEntries};
    co_return co_await onPoolWaiting(work, files_, types_, std::move(order));
}

QString FileManagerSearch::mimeFromUTI(const QString& type) {
    struct Row {
        QLatin1String type;
        QLatin1String mime;
    };
    static constexpr std::array rows{
        Row{QLatin1String("com.adobe.pdf"), QLatin1String("application/pdf")},
        Row{QLatin1String("public.plain-text"), QLatin1String("text/plain")},
        Row{QLatin1String("public.text"), QLatin1String("text/plain")},
        Row{QLatin1String("public.utf8-plain-text"), QLatin1String("text/plain")},
        Row{QLatin1String("public.rtf"), QLatin1String("text/rtf")},
        Row{QLatin1String("net.daringfireball.markdown"), QLatin1String("text/markdown")},
        Row{QLatin1String("public.markdown"), QLatin1String("text/markdown")},
        Row{QLatin1String("public.html"), QLatin1String("text/html")},
        Row{QLatin1String("public.json"), QLatin1String("application/json")},
        Row{QLatin1String("public.xml"), QLatin1String("application/xml")},
        Row{QLatin1String("public.csv"), QLatin1String("text/csv")},
        Row{QLatin1String("public.image"), QLatin1String("image/*")},
        Row{QLatin1String("public.jpeg"), QLatin1String("image/*")},
        Row{QLatin1String("public.png"), QLatin1String("image/*")},
        Row{QLatin1String("com.microsoft.word.doc"), QLatin1String("application/msword")},
        Row{QLatin1String("org.openxmlformats.wordprocessingml.document"),
            QLatin1String("application/vnd.openxmlformats-officedocument.wordprocessingml.document")},
        Row{QLatin1String("com.microsoft.excel.xls"), QLatin1String("application/vnd.ms-excel")},
        Row{QLatin1String("org.openxmlformats.spreadsheetml.sheet"),
            QLatin1String("application/vnd.openxmlformats-officedocument.spreadsheetml.sheet")},
    };
    const auto* row = std::ranges::find_if(rows, [&](const Row& row) { return row.type == type; });
    return row == rows.end() ? type : QString(row->mime);
}

} // namespace vennic
