#include "ui/menu/TrayMenu.h"

#include "ui/common/Texts.h"

#include <QAction>
#include <QFontMetrics>
#include <QtGlobal>

namespace sonvale::ui {

namespace {

/// The maximum width of a line. A menu is as wide as its widest line, and a long text must not stretch it
/// over the screen.
constexpr int maxLineWidth = 420;
/// More characters than fit into a line of that width.
constexpr qsizetype maxLineLength = 500;

/// Returns `text` as one line, shortened at its end, in which "&" does not mark a shortcut.
QString lineFor(const QString& text, const QFont& font) {
    const QString line =
        QFontMetrics(font).elidedText(text.left(maxLineLength).simplified(), Qt::ElideRight, maxLineWidth);
    return QString(line).replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

TrayMenu::TrayMenu(MenuModel& model)
    : model_(model)
    , status_(addLine())
    , error_(addLine()) {
    menu_.addSeparator();
    transcription_ = addLine();
    menu_.addSeparator();
    menu_.addAction(translated(QT_TRANSLATE_NOOP("Texts", "Dashboard")), &model, &MenuModel::openDashboard);
    menu_.addSeparator();
    copyLast_ = menu_.addAction(translated(QT_TRANSLATE_NOOP("Texts", "Copy Last Transcript")), &model,
                                &MenuModel::copyLastTranscript);
    pasteLast_ = menu_.addAction(translated(QT_TRANSLATE_NOOP("Texts", "Paste Last Transcript")), &model,
                                 &MenuModel::pasteLastTranscript);
    menu_.addSeparator();
    menu_.addAction(translated(QT_TRANSLATE_NOOP("Texts", "Shortcuts")), &model, &MenuModel::openDashboard);
    addLanguages();
    menu_.addSeparator();
    menu_.addAction(translated(QT_TRANSLATE_NOOP("Texts", "Quit Son Vale")), &model, &MenuModel::quit);

    QObject::connect(&model, &MenuModel::stateChanged, &menu_, [this] { showState(); });
    QObject::connect(&model, &MenuModel::errorChanged, &menu_, [this] { showError(); });
    QObject::connect(&model, &MenuModel::transcriptionChanged, &menu_, [this] { showTranscription(); });
    QObject::connect(&model, &MenuModel::languageChanged, &menu_, [this] { showLanguage(); });
    // The page of the settings changes the language without a notification.
    QObject::connect(&menu_, &QMenu::aboutToShow, &model, &MenuModel::refresh);
    showState();
    showError();
    showTranscription();
    showLanguage();
}

/// Adds a disabled line.
QAction* TrayMenu::addLine() {
    auto* line = menu_.addAction(QString());
    line->setEnabled(false);
    return line;
}

void TrayMenu::addLanguages() {
    auto* choices = menu_.addMenu(translated(QT_TRANSLATE_NOOP("Texts", "Language")));
    for (const auto& each : MenuModel::languages()) {
        const auto language = each.value<LanguageChoice>();
        auto* choice = choices->addAction(language.label);
        choice->setCheckable(true);
        choice->setData(language.code);
        // The current language keeps its mark if the user chooses it again.
        QObject::connect(choice, &QAction::triggered, &menu_,
                         [this, code = language.code] { model_.selectLanguage(code); });
        languages_.push_back(choice);
    }
}

void TrayMenu::showState() {
    status_->setText(model_.statusText());
}

void TrayMenu::showError() {
    const auto message = model_.errorMessage();
    error_->setText(lineFor(message, menu_.font()));
    error_->setToolTip(message);
    error_->setVisible(!message.isEmpty());
}

void TrayMenu::showTranscription() {
    const auto text = model_.lastTranscription();
    transcription_->setText(
        lineFor(text.isEmpty() ? translated(QT_TRANSLATE_NOOP("Texts", "Hold ⌥D to start dictating")) : text,
                menu_.font()));
    copyLast_->setEnabled(!text.isEmpty());
    pasteLast_->setEnabled(!text.isEmpty());
}

void TrayMenu::showLanguage() {
    const auto chosen = model_.language();
    for (auto* each : languages_)
        each->setChecked(each->data().toString() == chosen);
}

} // namespace sonvale::ui
