#pragma once

#include "ui/menu/MenuModel.h"

#include <QMenu>
#include <vector>

namespace sonvale::ui {

/// The menu that the panel itself draws at the tray icon. It has the lines of the popover, and the languages
/// as a submenu. It follows its model, and reads the language again each time the panel shows it. Main actor.
class TrayMenu final {
public:
    /// `model` must outlive it.
    explicit TrayMenu(MenuModel& model);
    TrayMenu(const TrayMenu&) = delete;
    TrayMenu& operator=(const TrayMenu&) = delete;

    QMenu& menu() { return menu_; }

private:
    QAction* addLine();
    void addLanguages();
    void showState();
    void showError();
    void showTranscription();
    void showLanguage();

    MenuModel& model_;
    QMenu menu_;
    QAction* status_;
    QAction* error_;
    QAction* transcription_ = nullptr;
    QAction* copyLast_ = nullptr;
    QAction* pasteLast_ = nullptr;
    std::vector<QAction*> languages_; ///< with the language's code as their data
};

} // namespace sonvale::ui
