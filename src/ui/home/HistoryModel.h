#pragma once

#include "base/DateText.h"
#include "base/Observed.h"
#include "persistence/Records.h"
#include "platform/Workspace.h"
#include "runtime/Clock.h"
#include "runtime/Task.h"
#include "ui/common/RecordStore.h"
#include "ui/home/HistoryStats.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QAbstractListModel>
#include <list>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace sonvale::ui {

/// The history, newest first, as the home tab shows it, with its three counters. It follows the store, and
/// keeps only the visible pages of it in memory. Main actor.
class HistoryModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(QString firstName READ firstName CONSTANT)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(QString days READ days NOTIFY statsChanged)
    Q_PROPERTY(QString words READ words NOTIFY statsChanged)
    Q_PROPERTY(QString wordsPerMinute READ wordsPerMinute NOTIFY statsChanged)
    Q_PROPERTY(QString copiedRow READ copiedRow NOTIFY copiedRowChanged)

public:
    enum Role { identifierRole = Qt::UserRole, timeRole, textRole, sectionRole };

    /// The duration of the note that a row is copied, in seconds.
    static constexpr double copiedSeconds = 1.5;
    static constexpr int pageSize = 64;

    /// The objects that the model uses. All references must outlive it.
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        platform::Workspace& workspace;
        std::string dateLocale; ///< the locale of dates and times
        RecordStore records;
        std::function<void(std::string text)> copyText;
    };

    explicit HistoryModel(Parts parts);
    ~HistoryModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    /// Returns the first word of the account's full name; empty if the account has no name.
    QString firstName() const;
    int count() const { return count_; }
    QString days() const;
    QString words() const;
    QString wordsPerMinute() const;
    QString copiedRow() const { return copiedRow_; } ///< the identifier of the copied row; empty for none

    /// Copies the text of a row to the pasteboard, and sets `copiedRow` for a moment.
    Q_INVOKABLE void copy(int row);

    Q_SIGNAL void countChanged();
    Q_SIGNAL void statsChanged();
    Q_SIGNAL void copiedRowChanged();

    std::size_t pagesHeld() const { return pages_.size(); }

private:
    struct Row {
        base::Uuid id;
        QString time;
        QString text;
        QString section;
    };
    struct Page {
        int number;
        std::vector<Row> rows;
    };

    const Row* rowAt(int index) const;
    std::vector<persistence::Transcription> fetch(int offset, int limit) const;
    Row shown(const persistence::Transcription& record) const;
    QString sectionOf(base::Date timestamp) const;
    void load();
    void follow();
    bool insertNewest(int total);
    void setCopiedRow(const QString& row);

    static runtime::Task<> followDays(std::weak_ptr<HistoryModel*> weakSelf, runtime::Clock* clock);
    static runtime::Task<> forgetCopied(std::weak_ptr<HistoryModel*> weakSelf, runtime::Clock* clock);

    Parts parts_;
    const base::DateText dateText_;
    base::CalendarDay today_;
    int count_ = 0;
    std::optional<base::Uuid> newest_;
    HistoryStats stats_;
    QString copiedRow_;
    mutable std::list<Page> pages_;          ///< the last used one is first
    mutable base::CalendarDay sectionDay_{}; ///< the day of the last row that was asked for its section
    mutable QString section_;
    base::Subscription changes_;
    bool isFollowing_ = false; ///< a change will be read in the next turn
    std::shared_ptr<HistoryModel*> self_ = std::make_shared<HistoryModel*>(this); ///< tasks hold it weakly
    runtime::TaskHandle<> dayTask_;
    runtime::TaskHandle<> copiedTask_;
};

} // namespace sonvale::ui
