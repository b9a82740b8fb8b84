#include "ui/snippets/SnippetEditModel.h"

#include "ui/common/Texts.h"

#include <utility>

namespace sonvale::ui {

using persistence::Snippet;

SnippetEditModel::SnippetEditModel(runtime::Actor main, runtime::Clock& clock, RecordStore records,
                                   Update update)
    : update_(std::move(update))
    , saving_(std::move(main), clock, [records = std::move(records)]() mutable { records.commit(); }) {}

void SnippetEditModel::begin(const Snippet& snippet) {
    edited_ = snippet;
    beforeEditing_ = snippet;
    Q_EMIT textsChanged();
    Q_EMIT editingChanged();
}

void SnippetEditModel::setUsageCount(std::int64_t count) {
    if (edited_)
        edited_->usageCount = count;
}

QString SnippetEditModel::trigger() const {
    return edited_ ? toQString(edited_->trigger) : QString();
}

void SnippetEditModel::setTrigger(const QString& text) {
    change(&Snippet::trigger, text);
}

QString SnippetEditModel::content() const {
    return edited_ ? toQString(edited_->content) : QString();
}

void SnippetEditModel::setContent(const QString& text) {
    change(&Snippet::content, text);
}

QString SnippetEditModel::category() const {
    return edited_ ? toQString(edited_->category) : QString();
}

void SnippetEditModel::setCategory(const QString& text) {
    change(&Snippet::category, text);
}

void SnippetEditModel::change(std::string Snippet::* field, const QString& text) {
    auto value = text.toStdString();
    if (!edited_ || *edited_.*field == value)
        return;
    *edited_.*field = std::move(value);
    update_(*edited_);
    saving_.request();
    Q_EMIT textsChanged();
}

void SnippetEditModel::finish() {
    saving_.flush();
    edited_.reset();
    Q_EMIT editingChanged();
}

void SnippetEditModel::cancel() {
    if (edited_ && *edited_ != beforeEditing_) {
        // Uses that were counted meanwhile stay counted.
        beforeEditing_.usageCount = edited_->usageCount;
        update_(beforeEditing_);
        saving_.request();
    }
    finish();
}

} // namespace sonvale::ui
