#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>

namespace sonvale::ui {

namespace {

using tests::eventuallyInQt;

/// Single controls on top of an open window.
class Controls : public tests::ViewFixture {
protected:
    Controls() { views().appearance().overrideMotionReduced(true); }

    /// Shows the item of `source` in the middle of the window.
    std::unique_ptr<QQuickItem> show(QQuickView& view, const std::string& source) {
        QQmlComponent component(qmlEngine(view.rootObject()));
        component.setData("import QtQuick\nimport SonVale\n" + QByteArray::fromStdString(source), QUrl());
        std::unique_ptr<QQuickItem> control(qobject_cast<QQuickItem*>(component.create()));
        if (!control)
            throw std::runtime_error(component.errorString().toStdString());
        control->setParentItem(view.contentItem());
        control->setPosition(place.topLeft());
        control->setSize(QSizeF(place.size()));
        settleViews();
        return control;
    }
    QImage picture(QQuickView& view) {
        settleViews();
        return view.grabWindow().copy(place);
    }
    void movePointer(QQuickView& view, const QPoint& to) {
        QTest::mouseMove(&view, to);
        settleViews();
    }

    static constexpr QRect place{300, 300, 240, 80};
};

} // namespace

TEST_F(Controls, DoNotHighlightUnderThePointerWhileDisabled) {
    auto& view = openDashboard();
    for (const std::string control :
         {"SVMenuRow { text: 'words'", "LinkButton { text: 'words'", "AddButton { text: 'words'",
          "PlainButton { text: 'words'", "SVPrimaryButtonStyle { text: 'words'",
          "SVPrimaryButtonStyle { isQuiet: true; text: 'words'", "SelectorButton { text: 'words'",
          R"(SidebarButton {
               tab: DashboardTab { name: 'home'; icon: 'house'; label: 'words'; page: Component { Item { } } }
               text: 'words')",
          "SymbolButton { symbol: 'gear'; text: 'words'", "SVPicker { label: 'words'; model: ['one', 'two']",
          "EngineOptionCard { title: 'words'; description: 'more words'"}) {
        for (const bool isEnabled : {true, false}) {
            const auto shown = show(view, control + (isEnabled ? " }" : "; enabled: false }"));
            movePointer(view, QPoint(5, 5));
            const auto before = picture(view);
            movePointer(view, place.center());
            if (isEnabled)
                EXPECT_TRUE(eventuallyInQt(5, [&] { return picture(view) != before; })) << control;
            else
                EXPECT_EQ(picture(view), before) << control;
        }
    }
}

} // namespace sonvale::ui
