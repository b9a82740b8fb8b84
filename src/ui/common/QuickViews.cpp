#include "ui/common/QuickViews.h"

#include "ui/common/SymbolProvider.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <mutex>
#include <utility>

// Registers the types of the views. The function is generated; the call keeps it in a program that links it
// statically.
void qml_register_types_SonVale(); // NOLINT(readability-identifier-naming): the generated name

namespace sonvale::ui {

QuickViews::QuickViews(platform::Appearance& appearance)
    : appearance_(std::make_unique<Appearance>(appearance)) {}

QuickViews::~QuickViews() = default;

QQmlEngine& QuickViews::engine() {
    if (engine_)
        return *engine_;
    // Without a graphics card the software renderer starts faster than OpenGL and needs less memory and
    // processor time. These windows are flat.
    static std::once_flag isChosen; // for the whole process
    std::call_once(isChosen, [] { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); });
    qml_register_types_SonVale();
    engine_ = std::make_unique<QQmlEngine>();
    engine_->addImportPath(QStringLiteral("qrc:/"));
    engine_->addImageProvider(QStringLiteral("symbol"), new SymbolProvider);
    Appearance::install(*engine_, *appearance_);
    QObject::connect(engine_.get(), &QQmlEngine::warnings, engine_.get(),
                     [this](const QList<QQmlError>& all) {
                         if (!onWarning)
                             return;
                         for (const auto& warning : all)
                             onWarning(warning.toString());
                     });
    return *engine_;
}

View QuickViews::make(const QString& file, const QVariantMap& properties) {
    auto view = std::make_unique<QQuickView>(&engine(), nullptr);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setInitialProperties(properties);
    view->setSource(QStringLiteral("qrc:/SonVale/%1.qml").arg(file));
    auto* content = view->rootObject();
    return {.window = std::move(view), .content = content};
}

void QuickViews::trim() {
    if (!engine_)
        return;
    engine_->collectGarbage();
    engine_->trimComponentCache();
}

} // namespace sonvale::ui
