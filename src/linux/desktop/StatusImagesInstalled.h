#pragma once
#include "ports/StatusItem.h"

namespace vennic {

/// The pictures that are installed with the program, and the symbols that it brings in itself.
class StatusImagesInstalled final : public StatusImages {
public:
    /// `resources` holds the program's own pictures as SVG files, the largest of 64 KiB.
    explicit StatusImagesInstalled(QString resources) : resources_(std::move(resources)) {}

    std::optional<StatusImage> named(const QString& name) const override;
    std::optional<StatusImage> symbol(const QString& name, const QString& accessibilityDescription) const override;

private:
    QString resources_;
};

} // namespace vennic
