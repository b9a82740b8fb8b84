#pragma once

#include "core/AppState.h"
#include "core/Environment.h"
#include "ui/common/SaveSoon.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>

namespace sonvale::ui {

/// The scratchpad's text, kept in the settings as it is typed. Main actor.
class ScratchpadModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(int words READ words NOTIFY textChanged)

public:
    /// Everything that the environment refers to must outlive the model.
    ScratchpadModel(const core::Environment& environment, std::shared_ptr<core::AppState> appState);

    QString text() const { return text_; }
    void setText(const QString& text);
    int words() const;

    /// Puts the text on the pasteboard.
    Q_INVOKABLE void copy();
    /// Keeps now what has been typed.
    Q_INVOKABLE void save() { saving_.flush(); }

    Q_SIGNAL void textChanged();

private:
    persistence::Settings& settings_;
    const std::shared_ptr<core::AppState> appState_;
    QString text_;
    SaveSoon saving_;
};

} // namespace sonvale::ui
