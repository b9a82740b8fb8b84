#pragma once

#include "base/Observed.h"
#include "persistence/Records.h"
#include "runtime/Clock.h"
#include "ui/common/RecordStore.h"
#include "ui/snippets/SnippetEditModel.h"
#include "ui/snippets/SnippetSearch.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QAbstractListModel>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// The snippets that match the search, newest first. Main actor.
class SnippetsModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY snippetsChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(sonvale::ui::SnippetEditModel* editor READ editor CONSTANT)

public:
    enum Role { triggerRole = Qt::UserRole, contentRole, categoryRole, usageCountRole };

    /// `clock` must outlive the model.
    SnippetsModel(runtime::Actor main, runtime::Clock& clock, RecordStore records);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool isEmpty() const { return all_.empty(); } ///< regardless of the search
    QString searchText() const { return searchText_; }
    void setSearchText(const QString& text);

    /// Stores a new snippet with the three texts unchanged.
    Q_INVOKABLE void add(const QString& trigger, const QString& content, const QString& category);
    /// Removes the snippet of a row.
    Q_INVOKABLE void remove(int row);

    /// Starts to edit the snippet of a row in the `editor()`.
    Q_INVOKABLE void edit(int row);
    SnippetEditModel* editor() { return &editor_; }

    Q_SIGNAL void snippetsChanged();
    Q_SIGNAL void searchTextChanged();

private:
    struct Entry {
        explicit Entry(persistence::Snippet snippet);
        bool matches(const SearchedText::Query& query) const;

        persistence::Snippet record;
        SearchedText trigger;
        SearchedText content;
    };

    const Entry* shownAt(int row) const;
    void load();
    void filter();
    void show(std::vector<std::size_t> places);
    void follow();
    void update(const persistence::Snippet& record);

    RecordStore records_;
    runtime::Clock& clock_;
    std::vector<Entry> all_;
    std::vector<std::size_t> shown_; ///< indices into `all_`
    QString searchText_;
    base::Subscription changes_;
    bool isFollowing_ = false; ///< a change will be read in the next turn
    bool isOwnChange_ = false;
    SnippetEditModel editor_;
};

} // namespace sonvale::ui
