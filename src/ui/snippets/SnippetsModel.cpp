#include "ui/snippets/SnippetsModel.h"

#include "base/Log.h"
#include "persistence/ModelContext.h"
#include "ui/common/Texts.h"

#include <QMetaObject>
#include <algorithm>
#include <utility>

namespace sonvale::ui {

using persistence::Snippet;

SnippetsModel::Entry::Entry(Snippet snippet)
    : record(std::move(snippet))
    , trigger(record.trigger)
    , content(record.content) {}

bool SnippetsModel::Entry::matches(const SearchedText::Query& query) const {
    return query.text.empty() || trigger.contains(record.trigger, query) ||
           content.contains(record.content, query);
}

SnippetsModel::SnippetsModel(runtime::Actor main, runtime::Clock& clock, RecordStore records)
    : records_(std::move(records))
    , clock_(clock)
    , editor_(std::move(main), clock, records_, [this](const Snippet& changed) { update(changed); }) {
    load();
    filter();
    // A dictation counts the use of a snippet, and saves it before the next turn.
    changes_ = records_.onChange<Snippet>([this] {
        if (!isOwnChange_ && !std::exchange(isFollowing_, true))
            QMetaObject::invokeMethod(this, &SnippetsModel::follow, Qt::QueuedConnection);
    });
}

int SnippetsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(shown_.size());
}

QVariant SnippetsModel::data(const QModelIndex& index, int role) const {
    const auto* entry = shownAt(index.row());
    if (!entry)
        return {};
    switch (role) {
    case triggerRole:
        return toQString(entry->record.trigger);
    case contentRole:
        return toQString(entry->record.content);
    case categoryRole:
        return toQString(entry->record.category);
    case usageCountRole:
        return QVariant::fromValue<qlonglong>(entry->record.usageCount);
    default:
        return {};
    }
}

QHash<int, QByteArray> SnippetsModel::roleNames() const {
    return {{triggerRole, "trigger"},
            {contentRole, "expansion"},
            {categoryRole, "category"},
            {usageCountRole, "usageCount"}};
}

void SnippetsModel::setSearchText(const QString& text) {
    if (std::exchange(searchText_, text) == text)
        return;
    filter();
    Q_EMIT searchTextChanged();
}

void SnippetsModel::add(const QString& trigger, const QString& content, const QString& category) {
    records_.insert(Snippet{.trigger = trigger.toStdString(),
                            .content = content.toStdString(),
                            .category = category.toStdString(),
                            .createdAt = clock_.date()});
    records_.commit();
}

void SnippetsModel::remove(int row) {
    const auto* entry = shownAt(row);
    if (!entry)
        return;
    records_.remove(entry->record);
    records_.commit();
}

void SnippetsModel::edit(int row) {
    const auto* entry = shownAt(row);
    if (!entry)
        return;
    editor_.begin(entry->record);
}

const SnippetsModel::Entry* SnippetsModel::shownAt(int row) const {
    return row >= 0 && row < std::ssize(shown_) ? &all_[shown_[static_cast<std::size_t>(row)]] : nullptr;
}

void SnippetsModel::load() {
    all_.clear();
    try {
        for (auto& record :
             records_.fetch<Snippet>({.sortBy = {{&Snippet::createdAt, persistence::SortOrder::reverse}}}))
            all_.emplace_back(std::move(record));
    } catch (const persistence::StoreError& error) {
        static const base::Logger logger("Dashboard");
        logger.error("the snippets could not be read: {}", error.what());
    }
}

void SnippetsModel::filter() {
    const SearchedText::Query query(searchText_.toStdString());
    std::vector<std::size_t> found;
    for (std::size_t place = 0; place < all_.size(); ++place) {
        if (all_[place].matches(query))
            found.push_back(place);
    }
    show(std::move(found));
}

/// Existing rows get other snippets: creating rows again for every key would take most of the time.
void SnippetsModel::show(std::vector<std::size_t> places) {
    const int before = rowCount();
    const int after = static_cast<int>(places.size());
    if (after < before) {
        beginRemoveRows({}, after, before - 1);
        shown_ = std::move(places);
        endRemoveRows();
    } else if (after > before) {
        beginInsertRows({}, before, after - 1);
        shown_ = std::move(places);
        endInsertRows();
    } else {
        shown_ = std::move(places);
    }
    if (const int kept = std::min(before, after); kept > 0)
        Q_EMIT dataChanged(index(0), index(kept - 1));
}

void SnippetsModel::follow() {
    isFollowing_ = false;
    load();
    filter();
    if (const auto& edited = editor_.edited()) {
        const auto found =
            std::ranges::find(all_, edited->id, [](const Entry& one) { return one.record.id; });
        if (found != all_.end())
            editor_.setUsageCount(found->record.usageCount);
    }
    Q_EMIT snippetsChanged();
}

/// Changes one row, in the model and in the store, without reading all rows again.
void SnippetsModel::update(const Snippet& record) {
    if (!records_.isOpen())
        return;
    isOwnChange_ = true;
    records_.update(record);
    isOwnChange_ = false;
    const auto found = std::ranges::find(all_, record.id, [](const Entry& one) { return one.record.id; });
    if (found == all_.end())
        return;
    *found = Entry(record);
    const auto place = static_cast<std::size_t>(found - all_.begin());
    const auto shown = std::ranges::find(shown_, place);
    if (shown == shown_.end())
        return;
    const auto changed = index(static_cast<int>(shown - shown_.begin()));
    Q_EMIT dataChanged(changed, changed);
}

} // namespace sonvale::ui
