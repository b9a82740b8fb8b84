#include "tests/ui/common/ViewFixture.h"

#include "persistence/SettingsKeys.h"
#include "tests/ui/common/DesktopProbe.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QTest>
#include <algorithm>
#include <array>
#include <stdexcept>

namespace sonvale::tests {

namespace {

QQuickItem* visibleItem(QQuickItem* from, const std::string& name) {
    if (!from->isVisible())
        return nullptr;
    if (from->objectName().toStdString() == name)
        return from;
    for (auto* child : from->childItems()) {
        if (auto* found = visibleItem(child, name))
            return found;
    }
    return nullptr;
}

void collectTexts(QQuickItem* from, std::vector<std::string>& texts) {
    if (!from->isVisible())
        return;
    if (from->inherits("QQuickText")) {
        const auto text = from->property("text").toString();
        if (!text.isEmpty())
            texts.push_back(text.toStdString());
    }
    for (auto* child : from->childItems())
        collectTexts(child, texts);
}

void collectOutside(QQuickItem* from, QRectF room, std::vector<std::string>& names) {
    if (!from->isVisible() || from->opacity() == 0)
        return;
    // The rectangle of a text is the place of its words.
    const auto place = from->mapRectToScene(
        from->inherits("QQuickText") ? from->boundingRect() : QRectF(0, 0, from->width(), from->height()));
    constexpr double rounding = 0.5;
    const bool isDrawn = (from->flags() & QQuickItem::ItemHasContents) != 0;
    if (isDrawn && !place.isEmpty() &&
        !room.adjusted(-rounding, -rounding, rounding, rounding).contains(place))
        names.push_back(std::string(from->metaObject()->className()) + " " +
                        from->objectName().toStdString());
    if (from->clip())
        room = room.intersected(place);
    constexpr double endless = 1e6;
    if (from->inherits("QQuickFlickable") && from->property("contentHeight").toReal() > from->height())
        room.adjust(0, -endless, 0, endless);
    for (auto* child : from->childItems())
        collectOutside(child, room, names);
}

void collectControls(QQuickItem* from, std::vector<QQuickItem*>& controls) {
    if (!from->isVisible() || !from->isEnabled())
        return;
    const bool isControl = std::ranges::any_of(std::array{"QQuickAbstractButton", "QQuickTextField",
                                                          "QQuickTextArea", "QQuickSlider", "QQuickComboBox"},
                                               [from](const char* kind) { return from->inherits(kind); });
    // Items only for the pointer have an equivalent for the keyboard.
    const auto policy = from->property("focusPolicy");
    const bool takesKeyboard = policy.isValid() ? policy.toInt() != Qt::NoFocus : from->activeFocusOnTab();
    if (isControl && takesKeyboard)
        controls.push_back(from);
    for (auto* child : from->childItems())
        collectControls(child, controls);
}

/// Lays out the rows and columns, which otherwise place their items before the next frame.
void layOut(QQuickItem* from) {
    for (auto* child : from->childItems())
        layOut(child);
    from->ensurePolished();
}

} // namespace

ViewFixture::ViewFixture() {
    views_.onWarning = [this](const QString& warning) { warnings_.append(warning); };
    settleViews();
}

ViewFixture::~ViewFixture() = default;

void ViewFixture::TearDown() {
    menu_.reset();
    menuModel_.reset();
    dashboard_.reset();
    settleViews();
    EXPECT_EQ(warnings_.join(QLatin1Char('\n')).toStdString(), "");
    CoreFixture::TearDown();
}

void ViewFixture::startSignedIn() {
    settings().set(persistence::keys::refreshToken, "refresh");
    rebuildState();
    completeOnboardingAndStart();
    settleViews();
}

QQuickView& ViewFixture::openDashboard() {
    dashboard_ = std::make_unique<ui::DashboardWindow>(
        views_, ui::DashboardParts::from(environment(), state().shared_from_this()));
    dashboard_->open();
    EXPECT_TRUE(QTest::qWaitForWindowActive(dashboard_->view(), 10000));
    settleViews();
    return dynamic_cast<QQuickView&>(*dashboard_->view());
}

void ViewFixture::closeDashboard() {
    dashboard_.reset();
    settleViews();
}

QQuickView& ViewFixture::openMenu() {
    menu_.reset();
    menuModel_ = std::make_unique<ui::MenuModel>(
        state().shared_from_this(), settings(),
        ui::MenuModel::Actions{
            .openDashboard =
                [this] {
                    ++dashboardsOpened;
                    wasMenuOpen = menu_->view() != nullptr;
                },
            .quit = [this] { ++quits; },
            .closeMenu = [this](std::function<void()> then) { menu_->closeFirst(std::move(then)); },
            .giveKeyboardBack =
                [this](std::function<void()> then) { menu_->closeAndThen(std::move(then)); }});
    menu_ = std::make_unique<ui::MenuPopover>(views_, *menuModel_);
    menu_->toggle(QRect(500, 100, 16, 16));
    EXPECT_TRUE(QTest::qWaitForWindowActive(menu_->view(), 10000));
    settleViews();
    return dynamic_cast<QQuickView&>(*menu_->view());
}

QQuickItem* ViewFixture::find(QQuickView& view, const std::string& name) {
    return visibleItem(view.contentItem(), name);
}

QQuickItem& ViewFixture::item(QQuickView& view, const std::string& name) {
    auto* found = find(view, name);
    if (!found)
        throw std::runtime_error("nothing shows that is called " + name);
    return *found;
}

std::string ViewFixture::text(QQuickView& view, const std::string& name) {
    const auto* found = find(view, name);
    return found ? found->property("text").toString().toStdString() : std::string();
}

std::vector<std::string> ViewFixture::readable(QQuickView& view) {
    std::vector<std::string> texts;
    collectTexts(view.contentItem(), texts);
    return texts;
}

std::vector<std::string> ViewFixture::outside(QQuickView& view) {
    std::vector<std::string> names;
    collectOutside(view.contentItem(), QRectF(QPointF(), view.size()), names);
    return names;
}

std::vector<QQuickItem*> ViewFixture::controls(QQuickView& view) {
    std::vector<QQuickItem*> found;
    collectControls(view.contentItem(), found);
    return found;
}

void ViewFixture::resize(QQuickView& view, QSize size) {
    view.resize(size);
    EXPECT_TRUE(eventuallyInQt(5, [&] {
        return view.size() == size && view.rootObject()->size() == QSizeF(size) &&
               view.contentItem()->size() == QSizeF(size);
    }));
    settleViews();
}

void ViewFixture::scrollTo(QQuickView& view, const std::string& name) {
    auto& target = item(view, name);
    for (auto* page = target.parentItem(); page; page = page->parentItem()) {
        if (page->metaObject()->indexOfMethod("reveal(QVariant)") >= 0)
            QMetaObject::invokeMethod(page, "reveal",
                                      Q_ARG(QVariant, QVariant::fromValue<QQuickItem*>(&target)));
    }
    settleViews();
}

void ViewFixture::click(QQuickView& view, const std::string& name) {
    auto& target = item(view, name);
    QPoint middle;
    // A window that grows with its content waits for the window manager.
    EXPECT_TRUE(eventuallyInQt(5, [&] {
        middle = target.mapToScene(QPointF(target.width() / 2, target.height() / 2)).toPoint();
        return QRect(QPoint(), view.size()).contains(middle);
    })) << name;
    QTest::mouseClick(&view, Qt::LeftButton, {}, middle);
    settleViews();
}

void ViewFixture::press(QQuickView& view, Qt::Key key) {
    QTest::keyClick(&view, key);
    settleViews();
}

void ViewFixture::type(QQuickView& view, const std::string& text) {
    for (const char32_t letter : QString::fromStdString(text).toStdU32String())
        QTest::sendKeyEvent(QTest::Click, &view, Qt::Key_unknown, QString::fromUcs4(&letter, 1),
                            Qt::NoModifier);
    settleViews();
}

void ViewFixture::paste(QQuickView& view, const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
    QTest::keyClick(&view, Qt::Key_V, Qt::ControlModifier);
    settleViews();
}

std::string ViewFixture::focused(QQuickView& view) {
    for (auto* each = view.activeFocusItem(); each; each = each->parentItem()) {
        if (!each->objectName().isEmpty())
            return each->objectName().toStdString();
    }
    return {};
}

void ViewFixture::settleViews() {
    for (int i = 0; i < 5; ++i) {
        runtimeSupport().runUntilIdle();
        QCoreApplication::sendPostedEvents(nullptr, 0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        for (auto* window : {dashboard_ ? dashboard_->view() : nullptr, menu_ ? menu_->view() : nullptr}) {
            const auto* view = dynamic_cast<QQuickView*>(window);
            if (view && view->rootObject())
                layOut(view->contentItem());
        }
    }
}

} // namespace sonvale::tests
