#pragma once

#include "persistence/Records.h"
#include "runtime/Clock.h"
#include "ui/common/RecordStore.h"
#include "ui/common/SaveSoon.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <QString>
#include <memory>
#include <optional>

namespace sonvale::ui {

/// The styles of the user in each kind of application. The style of a category is created when the category
/// is first selected. Changes take effect at once. Main actor.
class StyleModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(Category category READ category WRITE select NOTIFY styleChanged)
    Q_PROPERTY(int formality READ formality WRITE setFormality NOTIFY styleChanged)
    Q_PROPERTY(QString formalityText READ formalityText NOTIFY styleChanged)
    Q_PROPERTY(
        QString customInstructions READ customInstructions WRITE setCustomInstructions NOTIFY styleChanged)

public:
    /// The kinds of applications that have a style of their own.
    enum class Category { PersonalMessaging, WorkMessaging, Email, Other };
    Q_ENUM(Category)

    /// Selects the first category. `clock` must outlive the model.
    StyleModel(runtime::Actor main, runtime::Clock& clock, RecordStore records);

    Category category() const { return category_; }
    void select(Category category);
    /// Selects the first category, for a new view.
    Q_INVOKABLE void selectFirst() { select(Category::PersonalMessaging); }
    int formality() const { return static_cast<int>(style_.formality); }
    void setFormality(int formality);
    QString formalityText() const;
    QString customInstructions() const;
    void setCustomInstructions(const QString& text);

    /// Saves pending changes now.
    Q_INVOKABLE void save() { saving_.flush(); }

    Q_SIGNAL void styleChanged();

private:
    std::optional<persistence::WritingStyle> find(const std::string& category) const;
    void load();
    void store();

    RecordStore records_;
    Category category_ = Category::PersonalMessaging;
    persistence::WritingStyle style_;
    SaveSoon saving_;
};

} // namespace sonvale::ui
