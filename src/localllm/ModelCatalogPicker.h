#pragma once
#include "core/AppSession.h"
#include "localllm/LocalLLMModel.h"
#include "ports/SystemMemory.h"

#include <QObject>
#include <QSet>
#include <QVariantMap>

#include <optional>
#include <vector>

namespace vennic {

/// The chooser of the model that is served: the catalogue's rows, and one for an identifier of the user's own. Main
/// thread only.
class ModelCatalogPicker final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList rows READ rows NOTIFY modelsChanged)
    Q_PROPERTY(int revision READ revision NOTIFY detailsChanged)
    Q_PROPERTY(QString label READ label NOTIFY choiceChanged)
    Q_PROPERTY(QString customLabel READ customLabel CONSTANT)
    Q_PROPERTY(QString hint READ hint NOTIFY choiceChanged)
    Q_PROPERTY(QString chosen READ chosen NOTIFY choiceChanged)
    Q_PROPERTY(bool isWritingCustom READ isWritingCustom NOTIFY choiceChanged)
    Q_PROPERTY(QString customModel READ customModel WRITE setCustomModel NOTIFY choiceChanged)
public:
    /// `session` outlives the picker.
    ModelCatalogPicker(AppSession& session, const SystemMemory& memory);

    const std::vector<LocalLLMModel>& models() const { return models_; }
    void setModels(std::vector<LocalLLMModel> models);
    const QSet<QString>& downloaded() const { return downloaded_; }
    void setDownloaded(QSet<QString> ids);

    /// The machine's memory in units of 2^30 bytes; none where the system doesn't tell.
    std::optional<double> memoryGB() const { return memoryGB_; }
    /// Whether running the model takes more than the machine has, 4 GB being left for the system.
    bool exceedsMemory(const LocalLLMModel& model) const;
    /// What stands below a model's name.
    QString detail(const LocalLLMModel& model) const;
    /// Whether the served model is none of the catalogue.
    bool isCustomModel() const { return !known().has_value(); }

    /// Of each model of the catalogue: `id`, `title`, `measures` (the beginning of its detail line), `exceedsMemory`.
    QVariantList rows() const;
    /// How often what the two below give has changed.
    int revision() const { return revision_; }
    /// The detail line of a model of the catalogue; empty for any other. Each row asks for its own.
    Q_INVOKABLE QString detailOf(const QString& id) const;
    Q_INVOKABLE bool isDownloaded(const QString& id) const { return downloaded_.contains(id); }
    /// What the closed picker shows.
    QString label() const;
    /// The row for an identifier of the user's own.
    static QString customLabel();
    /// What there is to say of the served model.
    QString hint() const;
    QString chosen() const { return session_.localLLMModel(); }
    /// Whether the user writes an identifier of their own.
    bool isWritingCustom() const { return writesCustom_ || isCustomModel(); }
    /// The identifier that is written; empty while nothing has been and a model of the catalogue is served.
    QString customModel() const { return wrote_ || isCustomModel() ? chosen() : QString(); }
    /// Has that model served; blanks at the ends are dropped, and nothing at all is no change of one of the catalogue.
    void setCustomModel(const QString& id);

    /// Has a model of the catalogue served.
    Q_INVOKABLE void choose(const QString& id);
    /// Lets the user write an identifier; what is served stays until they have.
    Q_INVOKABLE void chooseCustom();
    /// Forgets a wish to write that nothing came of.
    void appear();

Q_SIGNALS:
    void modelsChanged();
    void detailsChanged();
    void choiceChanged();

private:
    std::optional<LocalLLMModel> known() const;
    void setWritesCustom(bool writes);
    void reviseDetails();

    AppSession& session_;
    std::optional<double> memoryGB_;
    std::vector<LocalLLMModel> models_;
    QSet<QString> downloaded_;
    int revision_ = 0;
    bool writesCustom_ = false;
    bool wrote_ = false; // since then
};

} // namespace vennic
