#include "ui/common/Views.h"

#include "ui/common/SymbolProvider.h"
#include "ui/hotkeys/KeyCaptureItem.h"
#include "ui/indicator/RingItem.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <mutex>

namespace sonvale::ui {

Views::Views()
    : appearance_(std::make_unique<Appearance>()) {}

Views::~Views() = default;

QQmlEngine& Views::engine() {
    if (engine_)
        return *engine_;
    // Quicker to start, smaller and calmer than OpenGL without a graphics card; these windows are flat.
    static std::once_flag isChosen; // for the whole process
    std::call_once(isChosen, [] { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); });
    engine_ = std::make_unique<QQmlEngine>();
    engine_->addImportPath(QStringLiteral("qrc:/"));
    engine_->addImageProvider(QStringLiteral("symbol"), new SymbolProvider);
    qmlRegisterSingletonInstance("SonVale.App", 1, 0, "Appearance", appearance_.get());
    qmlRegisterType<RingItem>("SonVale.App", 1, 0, "Ring");
    qmlRegisterType<KeyCaptureItem>("SonVale.App", 1, 0, "KeyCapture");
    QObject::connect(engine_.get(), &QQmlEngine::warnings, engine_.get(),
                     [this](const QList<QQmlError>& all) {
                         if (!onWarning)
                             return;
                         for (const auto& warning : all)
                             onWarning(warning.toString());
                     });
    return *engine_;
}

std::unique_ptr<QQuickView> Views::make(const QString& name, const QVariantMap& properties) {
    auto view = std::make_unique<QQuickView>(&engine(), nullptr);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setInitialProperties(properties);
    view->setSource(QStringLiteral("qrc:/SonVale/%1.qml").arg(name));
    return view;
}

void Views::trim() {
    if (!engine_)
        return;
    engine_->collectGarbage();
    engine_->trimComponentCache();
}

} // namespace sonvale::ui
