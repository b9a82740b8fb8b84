#pragma once

#include "persistence/Settings.h"
#include "runtime/Clock.h"
#include "ui/common/SaveSoon.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <functional>
#include <string>

namespace sonvale::ui {

/// The scratchpad's text, stored in the settings while the user types. Main actor.
class ScratchpadModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(int words READ words NOTIFY textChanged)

public:
    /// Copies a text to the pasteboard.
    using CopyText = std::function<void(std::string text)>;

    /// `clock` and `settings` must outlive the model.
    ScratchpadModel(runtime::Actor main, runtime::Clock& clock, persistence::Settings& settings,
                    CopyText copyText);

    QString text() const { return text_; }
    void setText(const QString& text);
    int words() const;

    /// Copies the text to the pasteboard.
    Q_INVOKABLE void copy();
    /// Saves pending changes now.
    Q_INVOKABLE void save() { saving_.flush(); }

    Q_SIGNAL void textChanged();

private:
    persistence::Settings& settings_;
    const CopyText copyText_;
    QString text_;
    SaveSoon saving_;
};

} // namespace sonvale::ui
