#include "backend/ProviderPicker.h"

#include "base/Localized.h"
#include "base/Pool.h"
#include "localllm/LocalLLMCatalog.h"

namespace vennic {

namespace {

constexpr int mostOffered = 200; // cloud models in all; whoever scrolls further has lost their way

Provider providerOf(const QString& slug) { return fromRawValue<Provider>(slug).value_or(Provider::openai); }

QString lastPart(const QString& id) { return id.mid(id.lastIndexOf(u'/') + 1); }

QString localTitle(const QString& id) {
    const auto known = LocalLLMCatalog::model(id);
    return known ? known->displayName : lastPart(id);
}

Task<> refresh(CloudCatalog* catalog) { co_await catalog->refreshIfStale(); }

} // namespace

ProviderPicker::ProviderPicker(Surroundings surroundings) : with_(std::move(surroundings)) {
    for (const auto signal : {&AppSession::providerChanged, &AppSession::selectedCloudModelChanged,
                              &AppSession::selectedLocalModelChanged}) {
        connect(&with_.session, signal, this, &ProviderPicker::pillChanged);
        connect(&with_.session, signal, this, &ProviderPicker::sectionsChanged);
    }
    connect(&with_.catalog, &CloudCatalog::providersChanged, this, &ProviderPicker::pillChanged);
    connect(&with_.catalog, &CloudCatalog::providersChanged, this, &ProviderPicker::sectionsChanged);
}

QString ProviderPicker::pillLabel() const {
    const Provider provider = with_.session.provider();
    if (provider != Provider::local) {
        const QString& slug = with_.session.selectedCloudModel();
        const CloudModel* model = slug.isEmpty() ? nullptr : catalogCloudModel(slug);
        return model ? model->label() : label(provider);
    }
    const QString& id = with_.session.selectedLocalModel();
    return id.isEmpty() ? label(provider) : localTitle(id);
}

QString ProviderPicker::pillIcon() const { return icon(with_.session.provider()); }

const CloudModel* ProviderPicker::catalogCloudModel(const QString& slug) const {
    for (const CloudProvider& provider : with_.catalog.providers())
        for (const CloudModel& model : provider.models)
            if (model.slug == slug)
                return &model;
    return nullptr;
}

bool ProviderPicker::isCurrent(Provider provider) const { return with_.session.provider() == provider; }

std::vector<ProviderPicker::Section> ProviderPicker::sections() const {
    std::vector<Section> sections = cloudSections();
    sections.push_back(localSection());
    return sections;
}

std::vector<ProviderPicker::Section> ProviderPicker::cloudSections() const {
    if (with_.catalog.providers().empty())
        return {Section{{}, fixedItems()}};
    std::vector<Section> sections;
    int offered = 0;
    for (const CloudProvider& provider : with_.catalog.providers()) {
        Section section{provider.label(), {}};
        for (const CloudModel& model : provider.models) {
            if (!model.isOffered() || offered == mostOffered)
                continue;
            ++offered;
            Item item{.action = Item::Action::cloudModel,
                      .title = model.label(),
                      .subtitle = {},
                      .icon = CloudCatalog::iconFor(provider.slug),
                      .current =
                          isCurrent(providerOf(provider.slug)) && with_.session.selectedCloudModel() == model.slug,
                      .providerSlug = provider.slug,
                      .model = model.slug};
            section.items.push_back(std::move(item));
        }
        if (!section.items.empty())
            sections.push_back(std::move(section));
    }
    return sections;
}

std::vector<ProviderPicker::Item> ProviderPicker::fixedItems() const {
    std::vector<Item> items;
    for (const Provider provider : {Provider::openai, Provider::anthropic, Provider::gemini})
        items.push_back({.action = Item::Action::provider,
                         .title = label(provider),
                         .subtitle = {},
                         .icon = icon(provider),
                         .current = isCurrent(provider),
                         .providerSlug = rawValue(provider),
                         .model = {}});
    return items;
}

ProviderPicker::Section ProviderPicker::localSection() const {
    Section section{label(Provider::local), {}};
    section.items.push_back({.action = Item::Action::localModel,
                             .title = localized("Self-Hosted (défaut du Mac)"),
                             .subtitle = {},
                             .icon = QStringLiteral("cpu"),
                             .current = isCurrent(Provider::local) && with_.session.selectedLocalModel().isEmpty(),
                             .providerSlug = {},
                             .model = {}});
    for (const QString& id : downloaded_)
        section.items.push_back(localItem(id));
    if (with_.manageModels)
        section.items.push_back({.action = Item::Action::manageModels,
                                 .title = localized("Gérer les modèles…"),
                                 .subtitle = {},
                                 .icon = QStringLiteral("slider.horizontal.3"),
                                 .current = false,
                                 .providerSlug = {},
                                 .model = {}});
    return section;
}

ProviderPicker::Item ProviderPicker::localItem(const QString& id) const {
    Item item{.action = Item::Action::localModel,
              .title = localTitle(id),
              .subtitle = {},
              .icon = {},
              .current = isCurrent(Provider::local) && with_.session.selectedLocalModel() == id,
              .providerSlug = {},
              .model = id};
    if (const auto known = LocalLLMCatalog::model(id))
        item.subtitle = QStringLiteral("%1 GB · %2 tok/s")
                            .arg(QString::number(known->sizeGB, 'f', 1))
                            .arg(known->approxTokensPerSec);
    return item;
}

void ProviderPicker::choose(const Item& item) {
    AppSession& session = with_.session;
    switch (item.action) {
    case Item::Action::cloudModel:
    case Item::Action::provider:
        session.setProvider(providerOf(item.providerSlug));
        session.setSelectedCloudModel(item.model);
        return;
    case Item::Action::localModel:
        session.setProvider(Provider::local);
        session.setSelectedLocalModel(item.model);
        return;
    case Item::Action::manageModels:
        if (with_.manageModels)
            with_.manageModels();
        return;
    }
}

void ProviderPicker::appear() {
    jobs_.start(refresh(&with_.catalog));
    if (!std::exchange(isReadingDisk_, true))
        jobs_.start(readDisk());
}

Task<> ProviderPicker::readDisk() {
    const QSet<QString> ids = co_await onPool(with_.downloadedIds);
    isReadingDisk_ = false;
    QStringList sorted(ids.begin(), ids.end());
    sorted.sort();
    if (sorted == downloaded_)
        co_return;
    downloaded_ = std::move(sorted);
    Q_EMIT sectionsChanged();
}

} // namespace vennic
