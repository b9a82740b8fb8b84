#pragma once

#include "base/Observed.h"
#include "persistence/Records.h"
#include "runtime/Clock.h"
#include "ui/common/RecordStore.h"
#include "ui/common/SaveSoon.h"
#include "ui/snippets/SnippetSearch.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QAbstractListModel>
#include <memory>
#include <optional>
#include <vector>

namespace sonvale::ui {

/// The snippets that a search shows, newest first, and the one that is being edited. Main actor.
class SnippetsModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY snippetsChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(bool isEditing READ isEditing NOTIFY editingChanged)
    Q_PROPERTY(QString trigger READ trigger WRITE setTrigger NOTIFY editedChanged)
    Q_PROPERTY(QString content READ content WRITE setContent NOTIFY editedChanged)
    Q_PROPERTY(QString category READ category WRITE setCategory NOTIFY editedChanged)

public:
    enum Role { triggerRole = Qt::UserRole, contentRole, categoryRole, usageCountRole };

    /// `clock` must outlive the model.
    SnippetsModel(runtime::Actor main, runtime::Clock& clock, RecordStore records);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool isEmpty() const { return all_.empty(); } ///< whatever is searched for
    QString searchText() const { return searchText_; }
    void setSearchText(const QString& text);

    /// Keeps a new snippet of the three texts as they stand.
    Q_INVOKABLE void add(const QString& trigger, const QString& content, const QString& category);
    /// Takes a shown snippet away.
    Q_INVOKABLE void remove(int row);

    /// Begins to edit a shown snippet. What is typed goes to it as it is typed.
    Q_INVOKABLE void edit(int row);
    bool isEditing() const { return edited_.has_value(); }
    QString trigger() const;
    void setTrigger(const QString& text);
    QString content() const;
    void setContent(const QString& text);
    QString category() const;
    void setCategory(const QString& text);
    Q_INVOKABLE void finishEditing();
    /// The snippet becomes what it was.
    Q_INVOKABLE void cancelEditing();

    Q_SIGNAL void snippetsChanged();
    Q_SIGNAL void searchTextChanged();
    Q_SIGNAL void editingChanged();
    Q_SIGNAL void editedChanged();

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
    void changeEdited(std::string persistence::Snippet::* field, const QString& text);

    RecordStore records_;
    runtime::Clock& clock_;
    std::vector<Entry> all_;
    std::vector<std::size_t> shown_; ///< places in `all_`
    QString searchText_;
    std::optional<persistence::Snippet> edited_;
    persistence::Snippet beforeEditing_;
    base::Subscription changes_;
    bool isFollowing_ = false; ///< a change has been noticed and is looked at in the next turn
    bool isOwnChange_ = false;
    SaveSoon saving_;
};

} // namespace sonvale::ui
