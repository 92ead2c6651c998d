#pragma once
#include <QByteArray>
#include <QRect>
#include <QSize>
#include <QString>

#include <functional>
#include <optional>

namespace vennic {

/// A picture for the status bar. A template has no colours of its own: it is drawn in those of its surroundings.
struct StatusImage {
    QByteArray svg;
    QString themeName; // the same picture in the desktop's icon theme, which it colours itself; empty when not there
    QString accessibilityDescription;
    bool isTemplate = false;
    QSize size; // in points
    bool operator==(const StatusImage&) const = default;
};

/// Where pictures for the status bar come from.
class StatusImages {
public:
    virtual ~StatusImages() = default;
    /// The program's own picture of that name; none when it isn't installed.
    virtual std::optional<StatusImage> named(const QString& name) const = 0;
    /// A symbol that comes with the system; none when there is none of that name.
    virtual std::optional<StatusImage> symbol(const QString& name, const QString& accessibilityDescription) const = 0;
};

/// The program's icon in the desktop's status bar. There is nowhere to see it when the desktop has no such bar; when
/// one comes, or comes back, the icon is there. Main thread.
class StatusItem {
public:
    /// Gets the icon in global device pixels, or as little of it as the desktop tells; none when it tells nothing.
    using Activated = std::function<void(std::optional<QRect> place)>;

    virtual ~StatusItem() = default;
    /// None: an empty place.
    virtual void setImage(const std::optional<StatusImage>& image) = 0;
    virtual void setAccessibilityLabel(const QString& label) = 0;
    /// Shows that what belongs to the icon is open.
    virtual void setHighlighted(bool highlighted) = 0;
    /// Calls `activated` at each click, from the event loop.
    virtual void onActivated(Activated activated) = 0;
    /// Where the icon is, as far as the desktop tells.
    virtual std::optional<QRect> place() const = 0;
};

/// A program without a screen.
class NoStatusItem final : public StatusItem {
public:
    void setImage(const std::optional<StatusImage>&) override {}
    void setAccessibilityLabel(const QString&) override {}
    void setHighlighted(bool) override {}
    void onActivated(Activated) override {}
    std::optional<QRect> place() const override { return std::nullopt; }
};

} // namespace vennic
