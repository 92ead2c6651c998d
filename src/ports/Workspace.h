#pragma once
#include <QString>

#include <stop_token>
#include <vector>

namespace vennic {

/// An application that the desktop knows: a desktop entry that isn't hidden and whose program exists (Desktop Entry
/// Specification, freedesktop.org).
struct Application {
    /// Whose folder the entry lies in.
    enum class Place {
        user,      // $XDG_DATA_HOME: the user's own
        installed, // the other data folders: what was installed on this machine for everybody
        system,    // what came with the system itself
    };

    QString entry;         // absolute path of the entry's file
    QString identifier;    // desktop entry id: "org.example.Notes.desktop", "vendor-notes.desktop"
    QString pathInFolder;  // below its folder of applications: "vendor/notes.desktop"
    QString name;          // Name, as the entry spells it
    QString localizedName; // Name in the user's language
    Place place = Place::installed;
    bool isShown = true; // in the menus of this desktop
    bool operator==(const Application&) const = default;
};

/// The user's applications. Operations block, and may be called from several threads.
/// Failures raise LocalizedError with the platform's own words.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// Every application, each identifier once: an entry of the user's own hides the others of its identifier.
    virtual std::vector<Application> applications() = 0;
    /// Starts the application of that entry file and brings it to the front. Returns once it has been started; gives
    /// up when `stop` asks for it. The application outlives this program and has nothing of it but its environment.
    virtual void openApplication(const QString& entry, std::stop_token stop) = 0;
    /// Opens a file or folder (absolute path) with the application that the user chose for its type; a folder for
    /// which none is chosen, in the file manager. Done once the application has been started, or has been told; gives
    /// up when `stop` asks for it.
    virtual void open(const QString& path, std::stop_token stop) = 0;
    /// Opens an address (encoded, with its scheme) with the application that the user chose for its scheme: the
    /// browser, the mail program. As `open` otherwise.
    virtual void openURL(const QString& url, std::stop_token stop) = 0;
};

} // namespace vennic
