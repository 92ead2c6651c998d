#include "linux/desktop/StatusItemDesktop.h"

namespace vennic {

StatusItemDesktop::StatusItemDesktop() {
    QObject::connect(&notifier_, &StatusNotifier::hasHostChanged, &context_, [this] { followHost(); });
    QObject::connect(&notifier_, &StatusNotifier::activated, &context_, [this](QPoint place) {
        // Bars that don't know where they are say so.
        lastClick_ = place.isNull() ? std::nullopt : std::optional(QRect(place, QSize(1, 1)));
        activateLater(lastClick_);
    });
    QObject::connect(&embedded_, &XEmbedIcon::activated, &context_, [this](QRect place) { activateLater(place); });
    followHost();
}

void StatusItemDesktop::setImage(const std::optional<StatusImage>& image) {
    image_ = image;
    show();
}

void StatusItemDesktop::setAccessibilityLabel(const QString& label) {
    notifier_.setLabel(label);
    embedded_.setLabel(label);
}

void StatusItemDesktop::setHighlighted(bool highlighted) {
    if (isHighlighted_ == highlighted)
        return;
    isHighlighted_ = highlighted;
    show();
}

std::optional<QRect> StatusItemDesktop::place() const {
    return notifier_.hasHost().value_or(false) ? lastClick_ : embedded_.place();
}

void StatusItemDesktop::show() {
    notifier_.setImage(image_, isHighlighted_);
    embedded_.setImage(image_, isHighlighted_);
}

void StatusItemDesktop::followHost() {
    lastClick_.reset();
    embedded_.setWanted(notifier_.hasHost() == false);
}

// The bar is answered before anything comes up.
void StatusItemDesktop::activateLater(std::optional<QRect> place) {
    QMetaObject::invokeMethod(
        &context_,
        [this, place] {
            if (activated_)
                activated_(place);
        },
        Qt::QueuedConnection);
}

} // namespace vennic
