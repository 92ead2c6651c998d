#pragma once
#include "linux/FileDescriptor.h"
#include "linux/thumbnail/InstalledThumbnailer.h"
#include "ports/Thumbnailer.h"

#include <memory>

namespace vennic {

class OpenedDocument;
class WorkerLane;

/// Draws pictures, PDF pages and SVG in the boxed process. For the types that it doesn't know it asks the program that
/// is installed for them, in a box of bubblewrap's, and draws what that program made, since nobody vetted it either.
/// Which of the two a file is for is said by its name; what the boxed process then draws, by its content alone.
class ThumbnailerDesktop final : public Thumbnailer {
public:
    explicit ThumbnailerDesktop(std::shared_ptr<WorkerLane> pictures, QStringList dataFolders = vennic::dataFolders());

    std::optional<Thumbnail> thumbnail(const QString& path, int edge, double scale, std::stop_token stop) override;

    /// Ends a program that runs for a thumbnail, now and to come. The lane is closed by who made it. From any thread.
    void close();

private:
    std::optional<Thumbnail> draw(const QString& path, int edge, const std::stop_token& stop);
    /// Whether the program has written a picture into the file `output`.
    bool runInstalled(const InstalledThumbnailer& thumbnailer, const OpenedDocument& document, const QString& output,
                      int edge, const std::stop_token& stop) const;

    std::shared_ptr<WorkerLane> pictures_;
    QStringList dataFolders_;
    FileDescriptor abandon_; // becomes readable when nobody waits any more
};

} // namespace vennic
