#include "linux_index/IndexedFolder.h"

#include "support/Await.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace vennic::index::test {

namespace fs = std::filesystem;
using vennic::test::waitUntil;

QString ExtensionTypes::typeForFile(const QString& name, bool isDirectory) const {
    return isDirectory ? QStringLiteral("public.folder") : QStringLiteral("test.") + name.section(u'.', -1);
}

IndexedFolder::IndexedFolder() {
    fs::create_directories(path());
    settings.directory = store();
    settings.reconciler.firstRetry = std::chrono::milliseconds(2);
    settings.reconciler.tick = settings.reconciler.coarseTick = {}; // tests read what they have just written
    reopen();
}

IndexedFolder::~IndexedFolder() {
    index_.reset();
    std::error_code error;
    fs::remove_all(base(), error); // names that are no text are beyond QTemporaryDir
}

void IndexedFolder::reopen() {
    index_.reset();
    index_ = std::make_unique<FileIndexSegments>(settings, texts, *queryTexts, types);
}

void IndexedFolder::put(const std::string& relativePath, std::string_view bytes) const {
    const fs::path file = path() + '/' + relativePath;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void IndexedFolder::write(const QString& relativePath, const QString& text, qint64 changedAt) {
    const std::string name = relativePath.toStdString();
    put(name, text.toStdString());
    const timespec times[2] = {{changedAt, 0}, {changedAt, 0}};
    utimensat(AT_FDCWD, (path() + '/' + name).c_str(), times, 0);
}

void IndexedFolder::settle() {
    const bool settled = waitUntil([this] { return index_->status().ready; }, std::chrono::seconds{100});
    EXPECT_TRUE(settled) << "pending " << index_->status().pending << " files " << index_->status().files << " "
                         << index_->status().problem.toStdString();
}

QStringList IndexedFolder::find(const QString& word, qint64 limit) {
    return vennic::test::found(*this, vennic::test::allOf({word}), {folder()}, limit);
}

bool IndexedFolder::finds(const QString& word, QStringList expected) {
    expected.sort();
    QStringList last;
    for (int i = 0; i < 400; ++i) {
        last = find(word);
        last.sort();
        if (last == expected)
            return true;
        const qint64 until = QDateTime::currentMSecsSinceEpoch() + 50;
        waitUntil([&] { return QDateTime::currentMSecsSinceEpoch() >= until; });
    }
    ADD_FAILURE() << word.toStdString() << " found " << last.join(QStringLiteral(" | ")).toStdString();
    return false;
}

} // namespace vennic::index::test
