#pragma once
#include "base/SecretText.h"

#include <QObject>

namespace vennic {

/// The content of a field for a secret, which is written at its end and never shown: the screen knows its length
/// alone. Main thread only.
class SecretDraft final : public QObject {
    Q_OBJECT
    Q_PROPERTY(int length READ length NOTIFY changed)
    Q_PROPERTY(bool isSelected READ isSelected NOTIFY changed)
public:
    /// More than any token has; what goes beyond is refused as a whole.
    static constexpr qsizetype mostBytes = qsizetype{16} * 1024;

    const SecretText& secret() const { return secret_; }
    void set(const SecretText& secret);
    /// In characters.
    int length() const;
    /// Whether all of it is selected, so that what comes next takes its place.
    bool isSelected() const { return selected_; }

    Q_INVOKABLE void selectAll() { select(!secret_.isEmpty()); }
    Q_INVOKABLE void deselect() { select(false); }
    /// Writes at the end, or in place of what is selected.
    Q_INVOKABLE void insert(const QString& text);
    /// Takes the last character away, or what is selected.
    Q_INVOKABLE void erase();
    /// Overwrites every character and then forgets them.
    void scrub();

Q_SIGNALS:
    void changed();

private:
    void select(bool selected);
    void replace(const SecretText& secret);

    SecretText secret_;
    bool selected_ = false;
};

} // namespace vennic
