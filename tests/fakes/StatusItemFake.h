#pragma once
#include "ports/StatusItem.h"

#include <QMap>
#include <QStringList>

#include <utility>

namespace vennic::test {

/// An icon in no bar, and what it was made to show.
class StatusItemFake final : public StatusItem {
public:
    void setImage(const std::optional<StatusImage>& given) override { image = given; }
    void setAccessibilityLabel(const QString& given) override { label = given; }
    void setHighlighted(bool given) override { highlighted = given; }
    void onActivated(Activated given) override { activated_ = std::move(given); }
    std::optional<QRect> place() const override { return where; }

    /// What a click does.
    void activate() const {
        if (activated_)
            activated_(where);
    }

    std::optional<StatusImage> image;
    QString label;
    bool highlighted = false;
    std::optional<QRect> where;

private:
    Activated activated_;
};

/// Pictures from memory.
class StatusImagesFake final : public StatusImages {
public:
    std::optional<StatusImage> named(const QString& name) const override {
        return own.contains(name) ? std::optional(own.value(name)) : std::nullopt;
    }
    std::optional<StatusImage> symbol(const QString& name, const QString& accessibilityDescription) const override {
        if (!symbols.contains(name))
            return std::nullopt;
        StatusImage image;
        image.svg = name.toUtf8();
        image.accessibilityDescription = accessibilityDescription;
        return image;
    }

    QMap<QString, StatusImage> own;
    QStringList symbols;
};

} // namespace vennic::test
