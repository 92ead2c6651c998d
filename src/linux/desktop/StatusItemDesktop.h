#pragma once
#include "linux/desktop/StatusNotifier.h"
#include "linux/desktop/XEmbedIcon.h"

namespace vennic {

/// The icon in whatever bar the desktop has: one that is reached over the session bus, else one of the older kind on
/// the X server. It moves when the bar does. Main thread only.
class StatusItemDesktop final : public StatusItem {
public:
    StatusItemDesktop();

    void setImage(const std::optional<StatusImage>& image) override;
    void setAccessibilityLabel(const QString& label) override;
    void setHighlighted(bool highlighted) override;
    void onActivated(Activated activated) override { activated_ = std::move(activated); }
    /// Of a bar on the session bus: where it was last clicked.
    std::optional<QRect> place() const override;

private:
    void show();
    void followHost();
    void activateLater(std::optional<QRect> place);

    StatusNotifier notifier_;
    XEmbedIcon embedded_;
    std::optional<StatusImage> image_;
    bool isHighlighted_ = false;
    std::optional<QRect> lastClick_;
    Activated activated_;
    QObject context_; // what is still to be told ends with this object
};

} // namespace vennic
