#pragma once

#include "persistence/Records.h"
#include "runtime/Clock.h"
#include "ui/common/RecordStore.h"
#include "ui/common/SaveSoon.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <functional>
#include <optional>

namespace sonvale::ui {

/// The edited snippet. Changes are stored while the user types. Main actor.
class SnippetEditModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The list of snippets makes it.")
    Q_PROPERTY(bool isEditing READ isEditing NOTIFY editingChanged)
    Q_PROPERTY(QString trigger READ trigger WRITE setTrigger NOTIFY textsChanged)
    Q_PROPERTY(QString content READ content WRITE setContent NOTIFY textsChanged)
    Q_PROPERTY(QString category READ category WRITE setCategory NOTIFY textsChanged)

public:
    /// Stores a changed snippet. The model commits the change later.
    using Update = std::function<void(const persistence::Snippet& snippet)>;

    /// `clock` must outlive the model.
    SnippetEditModel(runtime::Actor main, runtime::Clock& clock, RecordStore records, Update update);

    /// Starts to edit a snippet.
    void begin(const persistence::Snippet& snippet);
    bool isEditing() const { return edited_.has_value(); }
    const std::optional<persistence::Snippet>& edited() const { return edited_; }
    /// Keeps a use of the snippet that was counted elsewhere.
    void setUsageCount(std::int64_t count);

    QString trigger() const;
    void setTrigger(const QString& text);
    QString content() const;
    void setContent(const QString& text);
    QString category() const;
    void setCategory(const QString& text);
    /// Saves the snippet and ends the edit.
    Q_INVOKABLE void finish();
    /// Restores the snippet as it was before the edit, and ends the edit.
    Q_INVOKABLE void cancel();

    Q_SIGNAL void editingChanged();
    Q_SIGNAL void textsChanged();

private:
    void change(std::string persistence::Snippet::* field, const QString& text);

    const Update update_;
    std::optional<persistence::Snippet> edited_;
    persistence::Snippet beforeEditing_;
    SaveSoon saving_;
};

} // namespace sonvale::ui
