#include "localllm/ModelCatalogPicker.h"

#include "base/Localized.h"
#include "localllm/LocalLLMCatalog.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace vennic {

namespace {

constexpr double gibibyte = 1024.0 * 1024 * 1024;
constexpr double leftForTheSystemGB = 4.0;

const QString between = QStringLiteral(" · ");

/// As C prints "%.*f" where the decimal point is a point: exact halves go to the even digit.
QString fixed(double number, int decimals) {
    std::array<char, 400> digits{}; // the largest double has 309 before the point
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed, decimals);
    return QString::fromLatin1(digits.data(), end.ptr - digits.data());
}

/// The size of the weights, the speed, and the memory that it takes.
QString measures(const LocalLLMModel& model) {
    const QStringList parts{fixed(model.sizeGB, 1) + QStringLiteral(" GB"),
                            QStringLiteral("%1 tok/s").arg(model.approxTokensPerSec),
                            fixed(model.ramGB, 0) + QStringLiteral(" GB RAM")};
    return parts.join(between);
}

} // namespace

ModelCatalogPicker::ModelCatalogPicker(AppSession& session, const SystemMemory& memory)
    : session_(session), models_(LocalLLMCatalog::models()) {
    if (const auto total = memory.use().total)
        memoryGB_ = static_cast<double>(*total) / gibibyte;
    connect(&session_, &AppSession::localLLMModelChanged, this, &ModelCatalogPicker::choiceChanged);
}

void ModelCatalogPicker::setModels(std::vector<LocalLLMModel> models) {
    if (models_ == models)
        return;
    models_ = std::move(models);
    Q_EMIT modelsChanged();
    reviseDetails();
    Q_EMIT choiceChanged();
}

void ModelCatalogPicker::setDownloaded(QSet<QString> ids) {
    if (downloaded_ == ids)
        return;
    downloaded_ = std::move(ids);
    reviseDetails();
}

void ModelCatalogPicker::reviseDetails() {
    ++revision_;
    Q_EMIT detailsChanged();
}

bool ModelCatalogPicker::exceedsMemory(const LocalLLMModel& model) const {
    return memoryGB_ && model.ramGB > *memoryGB_ - leftForTheSystemGB;
}

QString ModelCatalogPicker::detail(const LocalLLMModel& model) const {
    QStringList parts{measures(model)};
    if (downloaded_.contains(model.id))
        parts.append(localized("téléchargé"));
    if (exceedsMemory(model))
        parts.append(localized("⚠︎ dépasse la RAM"));
    return parts.join(between);
}

QVariantList ModelCatalogPicker::rows() const {
    QVariantList rows;
    for (const LocalLLMModel& model : models_)
        rows.append(QVariantMap{{QStringLiteral("id"), model.id},
                                {QStringLiteral("title"), model.displayName},
                                {QStringLiteral("measures"), measures(model)},
                                {QStringLiteral("exceedsMemory"), exceedsMemory(model)}});
    return rows;
}

QString ModelCatalogPicker::detailOf(const QString& id) const {
    const auto found = std::ranges::find(models_, id, &LocalLLMModel::id);
    return found == models_.end() ? QString() : detail(*found);
}

std::optional<LocalLLMModel> ModelCatalogPicker::known() const { return LocalLLMCatalog::model(chosen(), models_); }

QString ModelCatalogPicker::label() const {
    if (writesCustom_)
        return localized("Personnalisé");
    if (const auto model = known())
        return model->displayName;
    return chosen().isEmpty() ? localized("Choisir un modèle") : localized("Personnalisé");
}

QString ModelCatalogPicker::customLabel() { return localized("Autre (ID Hugging Face personnalisé)…"); }

QString ModelCatalogPicker::hint() const {
    const auto model = known();
    return model ? model->description
                 : localized("Modèle personnalisé. Le Mac téléchargera les poids depuis Hugging Face au premier "
                             "chargement.");
}

void ModelCatalogPicker::setCustomModel(const QString& id) {
    const QString trimmed = id.trimmed();
    if (trimmed == customModel())
        return;
    writesCustom_ = wrote_ = true; // also when it happens to be one of the catalogue's
    session_.setLocalLLMModel(trimmed);
}

void ModelCatalogPicker::choose(const QString& id) {
    setWritesCustom(false);
    session_.setLocalLLMModel(id);
}

void ModelCatalogPicker::chooseCustom() { setWritesCustom(true); }

void ModelCatalogPicker::appear() { setWritesCustom(false); }

void ModelCatalogPicker::setWritesCustom(bool writes) {
    if (writesCustom_ == writes && !wrote_)
        return;
    writesCustom_ = writes;
    wrote_ = false;
    Q_EMIT choiceChanged();
}

} // namespace vennic
