#include "tests/ui/ViewFixture.h"

#include "ui/style/DW.h"

#include <QMetaProperty>
#include <QQmlComponent>
#include <QtTest/QTest>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace driftwell::tests {

namespace {

std::string nameOf(QAccessible::Role role) {
    static const QMetaEnum roles = QMetaEnum::fromType<QAccessible::Role>();
    return roles.valueToKey(role);
}

Seen seen(QAccessibleInterface& interface) {
    return {.role = interface.role(),
            .name = interface.text(QAccessible::Name),
            .description = interface.text(QAccessible::Description),
            .state = interface.state(),
            .item = qobject_cast<QQuickItem*>(interface.object())};
}

void collect(QAccessibleInterface* interface, std::vector<Seen>& found) {
    for (int i = 0; i < interface->childCount(); ++i) {
        QAccessibleInterface* const child = interface->child(i);
        if (child == nullptr || child->state().invisible) {
            continue;
        }
        found.push_back(seen(*child));
        collect(child, found);
    }
}

void collectItems(QQuickItem* parent, std::vector<QQuickItem*>& found) {
    const QList<QQuickItem*> children = parent->childItems();
    for (QQuickItem* const child : children) {
        if (child->isVisible() && child->opacity() > 0) {
            found.push_back(child);
            collectItems(child, found);
        }
    }
}

constexpr int tokenCount = static_cast<int>(DW::Token::Warning) + 1;

/// Whether a colour, its opacity aside, is one of those that a view may have.
bool isOfPalette(const QColor& color, ColorScheme scheme) {
    const QRgb rgb = color.rgb() | 0xFF000000;
    for (int token = 0; token < tokenCount; ++token) {
        if (DW::color(static_cast<DW::Token>(token), scheme).rgb() == rgb) {
            return true;
        }
    }
    return false;
}

/// The colours of things that are recognised by their colour, and white and black on and below others.
bool isOfSomethingSeeded(const QColor& color, ColorScheme scheme) {
    const QRgb rgb = color.rgb() | 0xFF000000;
    for (int seed = 0; seed < 64; ++seed) {
        const Tint tint = DW::seedTint(QString::number(seed), scheme);
        if (tint.bg.rgb() == rgb || tint.fg.rgb() == rgb) {
            return true;
        }
    }
    const bool isPerson = std::abs(color.hsvSaturationF() - 0.45F) < 0.02F && std::abs(color.valueF() - 0.62F) < 0.01F;
    // What a sheet lays over the window behind it.
    constexpr std::array shades{0xFF000008U, 0xFF201F3AU};
    return isPerson || rgb == QColor(Qt::white).rgb() || rgb == QColor(Qt::black).rgb() ||
           std::find(shades.begin(), shades.end(), rgb) != shades.end();
}

} // namespace

ViewFixture::ViewFixture() = default;

ViewFixture::~ViewFixture() = default;

void ViewFixture::TearDown() {
    hideView();
    UiFixture::TearDown();
}

void ViewFixture::start(QSize size) {
    m_scene = std::make_unique<Scene>(desktop, DW::Token::Canvas);
    view().resize(size);
}

void ViewFixture::show(const QString& file, const QVariantMap& properties, QSize size) {
    start(size);
    m_scene->load(file, properties);
    present(size);
}

void ViewFixture::showQml(const QString& objects, const QVariantMap& properties, QSize size) {
    start(size);
    QByteArray text = "import QtQuick\nimport QtQuick.Controls.Basic\nimport QtQuick.Layouts\nimport "
                      "Driftwell\nRectangle {\nid: test\ncolor: DW.canvas\n";
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        text += "required property var " + property.key().toUtf8() + '\n';
    }
    text += objects.toUtf8() + "\n}\n";
    QQmlComponent component(&m_scene->engine());
    component.setData(text, QUrl(QStringLiteral("qrc:/driftwell/Driftwell/Test.qml")));
    QObject* const root = component.createWithInitialProperties(properties);
    if (root == nullptr) {
        throw std::runtime_error(component.errorString().toStdString());
    }
    view().setContent(QUrl(), nullptr, root);
    present(size);
}

void ViewFixture::present(QSize size) {
    view().resize(size);
    view().show();
    view().requestActivate();
    waitUntil([this] { return view().isExposed() && view().isActive(); });
    settleView();
}

void ViewFixture::hideView() {
    m_scene.reset();
}

void ViewFixture::settleView() {
    settle();
    // Lays out what changed, and draws it.
    view().grabWindow();
    settle();
}

std::vector<Seen> ViewFixture::everything() {
    settleView();
    std::vector<Seen> found;
    if (QAccessibleInterface* const window = QAccessible::queryAccessibleInterface(&view())) {
        collect(window, found);
    }
    return found;
}

std::string ViewFixture::outline() {
    std::string text;
    for (const Seen& each : everything()) {
        text += "\n  " + nameOf(each.role) + " \"" + each.name.toStdString() + '"';
    }
    return text;
}

std::vector<Seen> ViewFixture::all(Role role) {
    std::vector<Seen> found = everything();
    std::erase_if(found, [role](const Seen& each) { return each.role != role; });
    return found;
}

std::vector<Seen> ViewFixture::all(Role role, const QString& name) {
    std::vector<Seen> found = all(role);
    std::erase_if(found, [&name](const Seen& each) { return each.name != name; });
    return found;
}

Seen ViewFixture::the(Role role, const QString& name) {
    const std::vector<Seen> found = all(role, name);
    if (found.size() != 1) {
        throw std::runtime_error(std::to_string(found.size()) + " times " + nameOf(role) + " \"" + name.toStdString() +
                                 "\" among" + outline());
    }
    return found.front();
}

bool ViewFixture::isSeen(Role role, const QString& name) {
    return !all(role, name).empty();
}

std::vector<std::string> ViewFixture::texts() {
    std::vector<std::string> result;
    for (const Seen& each : everything()) {
        if (each.role == Role::StaticText || each.role == Role::Heading) {
            result.push_back(each.name.toStdString());
        }
    }
    return result;
}

std::string ViewFixture::focus() {
    settleView();
    QQuickItem* const item = view().activeFocusItem();
    QAccessibleInterface* const interface = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
    if (interface == nullptr) {
        return {};
    }
    return nameOf(interface->role()) + " " + interface->text(QAccessible::Name).toStdString();
}

QImage ViewFixture::picture() {
    settle();
    return view().grabWindow();
}

QColor ViewFixture::colorAt(QQuickItem* item, QPointF place) {
    const QImage image = picture();
    return image.pixelColor(item->mapToScene(place).toPoint());
}

QPoint ViewFixture::centerOf(QQuickItem* item) {
    return item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
}

void ViewFixture::click(QQuickItem* item, Qt::MouseButton button) {
    settleView();
    const QPoint place = centerOf(item);
    QTest::mouseMove(&view(), place);
    QTest::mouseClick(&view(), button, Qt::NoModifier, place);
    settleView();
}

void ViewFixture::hover(QQuickItem* item) {
    // A move to where the pointer was for another window before is none.
    moveAway();
    QTest::mouseMove(&view(), centerOf(item));
    settleView();
}

void ViewFixture::moveAway() {
    QTest::mouseMove(&view(), QPoint(0, view().height() - 1));
    settleView();
}

void ViewFixture::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(&view(), key, modifiers);
    settleView();
}

void ViewFixture::type(const QString& text) {
    for (const QChar letter : text) {
        QTest::sendKeyEvent(QTest::Click, &view(), Qt::Key_unknown, letter, Qt::NoModifier);
    }
    settleView();
}

std::vector<std::string> ViewFixture::tabs(int count) {
    std::vector<std::string> order;
    for (int i = 0; i < count; ++i) {
        press(Qt::Key_Tab);
        order.push_back(focus());
    }
    return order;
}

std::vector<QQuickItem*> ViewFixture::items() {
    settleView();
    std::vector<QQuickItem*> found;
    collectItems(view().contentItem(), found);
    return found;
}

QQuickItem* ViewFixture::findText(const QString& text) {
    for (QQuickItem* const item : items()) {
        if (item->inherits("QQuickText") && item->property("text").toString() == text) {
            return item;
        }
    }
    return nullptr;
}

QQuickItem* ViewFixture::textItem(const QString& text) {
    QQuickItem* const item = findText(text);
    if (item == nullptr) {
        throw std::runtime_error("no text \"" + text.toStdString() + "\" among" + outline());
    }
    return item;
}

bool ViewFixture::isDrawn(const QString& text) {
    return findText(text) != nullptr;
}

void ViewFixture::expectColorsOf(ColorScheme scheme) {
    for (QQuickItem* const item : items()) {
        const QVariant value = item->property("color");
        if (value.metaType() != QMetaType::fromType<QColor>()) {
            continue;
        }
        const auto color = value.value<QColor>();
        EXPECT_TRUE(color.alpha() == 0 || isOfPalette(color, scheme) || isOfSomethingSeeded(color, scheme))
            << item->metaObject()->className() << " \"" << item->property("text").toString().toStdString() << "\" is "
            << color.name(QColor::HexArgb).toStdString();
    }
}

void ViewFixture::expectPaletteIsFollowed() {
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark, ColorScheme::Light}) {
        SCOPED_TRACE(scheme == ColorScheme::Dark ? "dark" : "light");
        desktop.setColorScheme(scheme);
        expectColorsOf(scheme);
    }
}

} // namespace driftwell::tests
