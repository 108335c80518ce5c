#pragma once

#include "tests/ui/UiFixture.h"
#include "ui/scene/Scene.h"

#include <QAccessible>
#include <QImage>
#include <QQuickItem>
#include <QQuickView>

#include <memory>
#include <string>
#include <vector>

namespace driftwell::tests {

/// One thing on screen, as a screen reader is told of it.
struct Seen {
    QAccessible::Role role = QAccessible::NoRole;
    QString name;
    QString description;
    QAccessible::State state;
    QQuickItem* item = nullptr;

    [[nodiscard]] bool isEnabled() const { return item != nullptr && item->isEnabled(); }
};

/// A view of the application in a window of its own, that is looked at and handled as people do: through what a screen
/// reader is told, the pointer, the keyboard, and the pixels. Everything is awaited; nothing depends on how fast the
/// machine is.
class ViewFixture : public UiFixture {
public:
    ~ViewFixture() override;

protected:
    using Role = QAccessible::Role;

    ViewFixture();
    void TearDown() override;

    /// Shows a file of the module. The objects among the properties live until the end of the test or hideView().
    void show(const QString& file, const QVariantMap& properties, QSize size = {800, 600});

    /// Shows objects written by the test on the canvas. `properties` are those of the object around them, whose id is
    /// "test".
    void showQml(const QString& objects, const QVariantMap& properties = {}, QSize size = {400, 300});

    /// Takes the window away, so that the models that it shows can go.
    void hideView();

    [[nodiscard]] QQuickView& view() { return m_scene->view(); }

    // What is seen. Each lets everything that is ready happen first.

    /// The one thing of this role and name. Throws, with everything that there is, where it is not or is several times.
    [[nodiscard]] Seen the(Role role, const QString& name);
    [[nodiscard]] bool isSeen(Role role, const QString& name);
    /// Every thing of the role, from the top of the tree on.
    [[nodiscard]] std::vector<Seen> all(Role role);
    [[nodiscard]] std::vector<Seen> all(Role role, const QString& name);
    /// All texts and headings.
    [[nodiscard]] std::vector<std::string> texts();
    /// Role and name of what has the keyboard, for example "Button Connect"; empty when nothing has.
    [[nodiscard]] std::string focus();
    [[nodiscard]] QImage picture();
    /// The colour in the middle of an item.
    [[nodiscard]] QColor colorAt(QQuickItem* item, QPointF place);

    // What a person does.

    void click(QQuickItem* item, Qt::MouseButton button = Qt::LeftButton);
    void click(Role role, const QString& name) { click(the(role, name).item); }
    void click(const QString& button) { click(Role::Button, button); }
    void hover(QQuickItem* item);
    void moveAway();
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString& text);
    /// What has the keyboard after each of so many presses of Tab.
    std::vector<std::string> tabs(int count);

    /// Lets everything happen that is ready, and draws.
    void settleView();

    /// Everything that is drawn has a colour of the palette for the desktop's scheme, and after a change of the scheme
    /// one for the new one.
    void expectPaletteIsFollowed();

    /// The visible items of the scene.
    [[nodiscard]] std::vector<QQuickItem*> items();
    /// The item that draws a text. Throws where there is none.
    [[nodiscard]] QQuickItem* textItem(const QString& text);
    [[nodiscard]] bool isDrawn(const QString& text);

private:
    void start(QSize size);
    void present(QSize size);
    [[nodiscard]] QQuickItem* findText(const QString& text);
    void expectColorsOf(ColorScheme scheme);
    [[nodiscard]] std::vector<Seen> everything();
    [[nodiscard]] std::string outline();
    [[nodiscard]] QPoint centerOf(QQuickItem* item);

    std::unique_ptr<Scene> m_scene;
};

} // namespace driftwell::tests
