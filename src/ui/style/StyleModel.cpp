#include "ui/style/StyleModel.h"

#include "textprocessing/AppCategory.h"
#include "ui/common/Texts.h"
#include "ui/style/FormalityText.h"

#include <string>
#include <utility>

namespace sonvale::ui {

using persistence::WritingStyle;
using textprocessing::AppCategory;

namespace {

constexpr int maxFormality = 5;

std::string storedName(StyleModel::Category category) {
    using Category = StyleModel::Category;
    switch (category) {
    case Category::PersonalMessaging:
        return std::string(rawValue(AppCategory::personalMessaging));
    case Category::WorkMessaging:
        return std::string(rawValue(AppCategory::workMessaging));
    case Category::Email:
        return std::string(rawValue(AppCategory::email));
    case Category::Other:
        break;
    }
    return std::string(rawValue(AppCategory::other));
}

} // namespace

StyleModel::StyleModel(runtime::Actor main, runtime::Clock& clock, RecordStore records)
    : records_(std::move(records))
    , saving_(std::move(main), clock, [this] { records_.commit(); }) {
    load();
}

void StyleModel::select(Category category) {
    if (category == category_)
        return;
    saving_.flush();
    category_ = category;
    load();
    Q_EMIT styleChanged();
}

void StyleModel::setFormality(int formality) {
    if (formality < 1 || formality > maxFormality || formality == style_.formality)
        return;
    style_.formality = formality;
    store();
}

QString StyleModel::formalityText() const {
    return translated(ui::formalityText(style_.formality));
}

QString StyleModel::customInstructions() const {
    return toQString(style_.customInstructions);
}

void StyleModel::setCustomInstructions(const QString& text) {
    if (text == customInstructions())
        return;
    style_.customInstructions = text.toStdString();
    store();
}

std::optional<WritingStyle> StyleModel::find(const std::string& category) const {
    try {
        auto found = records_.fetch<WritingStyle>(
            {.where = {{&WritingStyle::category, persistence::Comparison::equal, category}}, .limit = 1});
        return found.empty() ? std::nullopt : std::optional(std::move(found.front()));
    } catch (const persistence::StoreError&) {
        // A new style replaces one that cannot be read.
        return std::nullopt;
    }
}

void StyleModel::load() {
    const auto category = storedName(category_);
    if (auto found = find(category)) {
        style_ = *std::move(found);
        return;
    }
    style_ = WritingStyle{.category = category};
    records_.insert(style_);
    records_.commit();
}

void StyleModel::store() {
    records_.update(style_);
    saving_.request();
    Q_EMIT styleChanged();
}

} // namespace sonvale::ui
