#pragma once

#include "core/AppState.h"
#include "core/Environment.h"
#include "persistence/Records.h"
#include "ui/common/SaveSoon.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <QStringList>
#include <memory>
#include <optional>

namespace sonvale::ui {

/// How the user wants to sound in each kind of application. Each kind's style is made when it is first
/// selected, and changes count from the moment that they are made. Main actor.
class StyleModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(QStringList categories READ categories CONSTANT)
    Q_PROPERTY(QString category READ category WRITE select NOTIFY styleChanged)
    Q_PROPERTY(int formality READ formality WRITE setFormality NOTIFY styleChanged)
    Q_PROPERTY(QString formalityText READ formalityText NOTIFY styleChanged)
    Q_PROPERTY(
        QString customInstructions READ customInstructions WRITE setCustomInstructions NOTIFY styleChanged)

public:
    /// Begins at the first kind. Everything that the environment refers to must outlive the model.
    StyleModel(const core::Environment& environment, std::shared_ptr<core::AppState> appState);

    /// The kinds, by the words under which their styles are stored.
    static QStringList categories();
    QString category() const;
    void select(const QString& category);
    /// Back to the first kind, for a new view.
    Q_INVOKABLE void selectFirst() { select(categories().front()); }
    int formality() const { return static_cast<int>(style_.formality); }
    void setFormality(int formality);
    QString formalityText() const;
    QString customInstructions() const;
    void setCustomInstructions(const QString& text);

    /// Keeps now what has been changed.
    Q_INVOKABLE void save() { saving_.flush(); }

    Q_SIGNAL void styleChanged();

private:
    std::optional<persistence::WritingStyle> find(const std::string& category) const;
    void load(const std::string& category);
    void store();

    const std::shared_ptr<core::AppState> appState_;
    persistence::WritingStyle style_;
    SaveSoon saving_;
};

} // namespace sonvale::ui
