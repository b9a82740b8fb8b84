#include "ui/home/HistoryModel.h"

#include "base/Log.h"
#include "base/Text.h"
#include "ui/common/Texts.h"

#include <QMetaObject>
#include <algorithm>
#include <chrono>

namespace sonvale::ui {

using persistence::Transcription;

namespace {

constexpr std::size_t pagesKept = 8;
/// The maximum wait, because the machine may sleep meanwhile, or the user may set its clock.
constexpr double maxWaitForDay = 3600;

void report(const persistence::StoreError& error) {
    static const base::Logger logger("Dashboard");
    logger.error("the history could not be read: {}", error.what());
}

} // namespace

HistoryModel::HistoryModel(Parts parts)
    : parts_(std::move(parts))
    , dateText_(parts_.dateLocale)
    , today_(base::dayOf(parts_.clock.date()).value_or(base::CalendarDay{})) {
    load();
    // In the next turn the change is saved, and is cheap to read.
    changes_ = parts_.records.onChange<Transcription>([this] {
        if (!std::exchange(isFollowing_, true))
            QMetaObject::invokeMethod(this, &HistoryModel::follow, Qt::QueuedConnection);
    });
    dayTask_ = runtime::spawn(parts_.main, followDays(self_, &parts_.clock));
}

HistoryModel::~HistoryModel() {
    dayTask_.cancel();
    copiedTask_.cancel();
}

int HistoryModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count_;
}

QVariant HistoryModel::data(const QModelIndex& index, int role) const {
    const auto* row = rowAt(index.row());
    if (!row)
        return {};
    switch (role) {
    case identifierRole:
        return toQString(row->id.toString());
    case timeRole:
        return row->time;
    case textRole:
        return row->text;
    case sectionRole:
        return row->section;
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryModel::roleNames() const {
    return {{identifierRole, "identifier"}, {timeRole, "time"}, {textRole, "text"}, {sectionRole, "section"}};
}

QString HistoryModel::firstName() const {
    const auto name = parts_.workspace.fullUserName();
    const auto words = base::piecesBetweenBlanks(name);
    return words.empty() ? QString() : toQString(words.front());
}

QString HistoryModel::days() const {
    return toQString(stats_.days());
}

QString HistoryModel::words() const {
    return toQString(stats_.words());
}

QString HistoryModel::wordsPerMinute() const {
    return toQString(stats_.wordsPerMinute());
}

void HistoryModel::copy(int row) {
    const auto* shown = rowAt(row);
    if (!shown)
        return;
    parts_.copyText(shown->text.toStdString());
    setCopiedRow(toQString(shown->id.toString()));
    copiedTask_.cancel();
    copiedTask_ = runtime::spawn(parts_.main, forgetCopied(self_, &parts_.clock));
}

runtime::Task<> HistoryModel::forgetCopied(std::weak_ptr<HistoryModel*> weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, copiedSeconds) == runtime::SleepOutcome::interrupted)
        co_return;
    if (const auto self = weakSelf.lock())
        (*self)->setCopiedRow({});
}

void HistoryModel::setCopiedRow(const QString& row) {
    if (std::exchange(copiedRow_, row) != row)
        Q_EMIT copiedRowChanged();
}

runtime::Task<> HistoryModel::followDays(std::weak_ptr<HistoryModel*> weakSelf, runtime::Clock* clock) {
    for (;;) {
        double seconds = maxWaitForDay;
        {
            const auto self = weakSelf.lock();
            if (!self)
                co_return;
            auto& model = **self;
            const auto now = clock->date();
            if (!model.today_.holds(now)) {
                model.today_ = base::dayOf(now).value_or(base::CalendarDay{});
                model.sectionDay_ = {};
                model.pages_.clear();
                if (model.count_ > 0)
                    Q_EMIT model.dataChanged(model.index(0), model.index(model.count_ - 1), {sectionRole});
            }
            const std::chrono::duration<double> left = model.today_.end - now;
            seconds = std::clamp(left.count(), 1.0, maxWaitForDay);
        }
        if (co_await runtime::sleep(*clock, seconds) == runtime::SleepOutcome::interrupted)
            co_return;
    }
}

const HistoryModel::Row* HistoryModel::rowAt(int index) const {
    if (index < 0 || index >= count_)
        return nullptr;
    const int number = index / pageSize;
    auto found = std::ranges::find(pages_, number, &Page::number);
    if (found == pages_.end()) {
        Page page{.number = number, .rows = {}};
        for (const auto& record : fetch(number * pageSize, pageSize))
            page.rows.push_back(shown(record));
        pages_.push_front(std::move(page));
        if (pages_.size() > pagesKept)
            pages_.pop_back();
    } else {
        pages_.splice(pages_.begin(), pages_, found);
    }
    const auto& rows = pages_.front().rows;
    const auto place = static_cast<std::size_t>(index % pageSize);
    return place < rows.size() ? &rows[place] : nullptr;
}

std::vector<Transcription> HistoryModel::fetch(int offset, int limit) const {
    try {
        return parts_.records.fetch<Transcription>(
            {.sortBy = {{&Transcription::timestamp, persistence::SortOrder::reverse}},
             .limit = static_cast<std::size_t>(limit),
             .offset = static_cast<std::size_t>(offset)});
    } catch (const persistence::StoreError& error) {
        report(error);
        return {};
    }
}

HistoryModel::Row HistoryModel::shown(const Transcription& record) const {
    return {.id = record.id,
            .time = toQString(dateText_.shortTime(record.timestamp)),
            .text = toQString(record.processedText),
            .section = sectionOf(record.timestamp)};
}

QString HistoryModel::sectionOf(base::Date timestamp) const {
    if (sectionDay_.holds(timestamp))
        return section_;
    sectionDay_ = base::dayOf(timestamp).value_or(base::CalendarDay{});
    const auto name = daySection(sectionDay_, today_);
    section_ = name ? translated(*name) : toQString(dateText_.mediumDate(timestamp));
    return section_;
}

void HistoryModel::load() {
    pages_.clear();
    stats_ = HistoryStats();
    count_ = 0;
    try {
        parts_.records.eachTranscription([this](const persistence::TranscriptionFigures& figures) {
            stats_.add(figures.timestamp, figures.wordCount, figures.durationSeconds);
            ++count_;
        });
    } catch (const persistence::StoreError& error) {
        report(error);
    }
    const auto* first = rowAt(0);
    newest_ = first ? std::optional(first->id) : std::nullopt;
}

void HistoryModel::follow() {
    isFollowing_ = false;
    int total = 0;
    try {
        total = static_cast<int>(parts_.records.count<Transcription>());
    } catch (const persistence::StoreError& error) {
        report(error);
        return;
    }
    if (total <= count_ || !insertNewest(total)) {
        beginResetModel();
        load();
        endResetModel();
    }
    Q_EMIT countChanged();
    Q_EMIT statsChanged();
}

/// Inserts the new rows at the top. Returns false if more than new rows has changed.
bool HistoryModel::insertNewest(int total) {
    const int added = total - count_;
    if (added > pageSize)
        return false;
    const auto records = fetch(0, added + 1);
    const bool isOldNext = count_ == 0 ? std::ssize(records) == added
                                       : std::ssize(records) == added + 1 && records.back().id == newest_;
    if (!isOldNext)
        return false;

    beginInsertRows({}, 0, added - 1);
    pages_.clear();
    count_ = total;
    newest_ = records.front().id;
    for (int i = 0; i < added; ++i) {
        const auto& record = records[static_cast<std::size_t>(i)];
        stats_.add(record.timestamp, record.wordCount, record.durationSeconds);
    }
    endInsertRows();
    return true;
}

} // namespace sonvale::ui
