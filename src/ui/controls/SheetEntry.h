#pragma once

#include <QObject>
#include <QPointer>
#include <QQmlComponent>
#include <QtQml/qqmlregistration.h>

namespace driftwell {

/// One kind of sheet that a SheetHost shows: it is on screen for as long as it has a target, and another target has
/// another sheet. The sheet is written inside the entry, and its property `model` is given the target.
class SheetEntry : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_CLASSINFO("DefaultProperty", "sheet")
    Q_PROPERTY(QObject* target READ target WRITE setTarget NOTIFY targetChanged REQUIRED)
    Q_PROPERTY(QQmlComponent* sheet MEMBER m_sheet)

public:
    using QObject::QObject;

    /// Null while the sheet is not asked for.
    [[nodiscard]] QObject* target() const { return m_target; }
    void setTarget(QObject* target);

    [[nodiscard]] QQmlComponent* sheet() const { return m_sheet; }

Q_SIGNALS:
    void targetChanged();

private:
    /// Whoever gives the target takes it back before its end, and ends it later (QObject::deleteLater): the sheet that
    /// is on its way out still refers to it.
    QObject* m_target = nullptr;
    QQmlComponent* m_sheet = nullptr;
};

} // namespace driftwell
