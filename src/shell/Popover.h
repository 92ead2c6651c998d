#pragma once
#include "base/LocalizedError.h"

#include <QObject>
#include <QRect>

#include <optional>

namespace vennic {

/// The window that hangs from the status item and holds everything. It closes by itself on Escape; whoever owns it
/// closes it when the user turns to something else. Main thread.
class Popover : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual bool isShown() const = 0;
    /// Shows it in front of everything, with the keyboard. `anchor` is the icon that it hangs from, in global pixels;
    /// without one it comes up at the pointer. Raises LocalizedError when there is nothing to show it on.
    virtual void show(std::optional<QRect> anchor) = 0;
    /// Nothing when it is closed already.
    virtual void close() = 0;
    /// Whether that place, in global pixels, is a part of what is shown.
    virtual bool contains(QPoint place) const = 0;
    /// Gives it the keyboard again. Nothing when it is closed.
    virtual void takeKeyboard() = 0;

Q_SIGNALS:
    /// After each close, whoever closed it.
    void closed();
    /// The keyboard has gone to another window.
    void left();
};

/// A program without a screen.
class NoPopover final : public Popover {
public:
    /// Why there is none: a French sentence.
    explicit NoPopover(QString reason) : reason_(std::move(reason)) {}
    bool isShown() const override { return false; }
    void show(std::optional<QRect>) override { throw LocalizedError(reason_); }
    void close() override {}
    bool contains(QPoint) const override { return false; }
    void takeKeyboard() override {}

private:
    QString reason_;
};

} // namespace vennic
