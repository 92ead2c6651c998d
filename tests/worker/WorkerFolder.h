#pragma once
#include "linux/worker/DocumentReaderWorker.h"
#include "linux/worker/WorkerFailure.h"
#include "support/FaultOf.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vennic::test {

inline QString workerProgram() { return QStringLiteral(VENNIC_WORKER_PROGRAM); }
inline QString pictureWorkerProgram() { return QStringLiteral(VENNIC_PICTURE_WORKER_PROGRAM); }
inline QString dataFolder() { return QStringLiteral(VENNIC_TEST_DATA); }

inline QByteArray fileBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        ADD_FAILURE() << path.toStdString();
    return file.readAll();
}

/// A folder of made-up documents that is gone with the test.
class WorkerFolder {
public:
    QString add(const QString& name, const QByteArray& bytes) const {
        const QString path = folder_.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }
    QString path(const QString& name) const { return folder_.filePath(name); }

private:
    QTemporaryDir folder_;
};

inline QByteArray processStatus(pid_t process, const QByteArray& field) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (QByteArray::fromStdString(line).startsWith(field + ':'))
            return QByteArray::fromStdString(line).mid(field.size() + 1).trimmed();
    }
    return {};
}

/// The living children of this process. One whose first thread has ended lives on until the others have.
inline QList<pid_t> childProcesses() {
    QList<pid_t> children;
    const auto numbers = QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs);
    for (const QString& number : numbers) {
        const auto process = static_cast<pid_t>(number.toInt());
        if (processStatus(process, "PPid") == QByteArray::number(getpid()) &&
            !(processStatus(process, "State").startsWith('Z') && processStatus(process, "Threads").toInt() <= 1))
            children.append(process);
    }
    return children;
}

/// What a failed reading says of its document, where the fault is its process's.
template <class Read>
std::optional<WorkerFailure::Cause> causeOf(Read read) {
    try {
        read();
    } catch (const WorkerFailure& failure) {
        return failure.cause();
    } catch (const DocumentReadError&) { // NOLINT(bugprone-empty-catch): a fault of the document
    }
    return std::nullopt;
}

} // namespace vennic::test
