#pragma once
#include "core/AppSession.h"

#include <QObject>
#include <QVariantList>

#include <vector>

namespace vennic {

/// The choice between the modes that this program can show. Main thread only.
class ModeSwitcher final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList buttons READ buttons CONSTANT)
    Q_PROPERTY(int selected READ selected NOTIFY selectedChanged)
    Q_PROPERTY(bool isChoice READ isChoice CONSTANT)
public:
    /// `offered` in the order of declaration. `session` outlives the switcher.
    ModeSwitcher(AppSession& session, std::vector<Mode> offered);

    /// One for each mode: `label` and `symbol`.
    QVariantList buttons() const;
    /// The place of the session's mode among the buttons; -1 for one that isn't offered.
    int selected() const;
    /// Whether there is anything to choose from.
    bool isChoice() const { return offered_.size() > 1; }
    Q_INVOKABLE void select(int button);

    static QLatin1String symbol(Mode mode);

Q_SIGNALS:
    void selectedChanged();

private:
    AppSession& session_;
    std::vector<Mode> offered_;
};

} // namespace vennic
