#include "ZorbelKit/Controls/Accessible.hpp"

#include <QAbstractButton>
#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QApplication>
#include <QVariant>
#include <QWidget>

namespace ZorbelKit {

namespace {

constexpr const char* roleProperty = "accessibleRole";
constexpr const char* disabledProperty = "accessibleDisabled";
constexpr const char* selectedProperty = "accessibleSelected";
constexpr const char* valueProperty = "accessibleValue";

/// A widget with the role it was given; buttons among them can be pressed.
class RoleInterface : public QAccessibleWidget {
public:
    RoleInterface(QWidget* widget, QAccessible::Role role)
        : QAccessibleWidget(widget, role) {}

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? widget()->property(valueProperty).toString()
                                          : QAccessibleWidget::text(kind);
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = role() == QAccessible::ComboBox;
        const QVariant selected = widget()->property(selectedProperty);
        if (selected.isValid()) {
            state.selectable = true;
            state.selected = selected.toBool();
        }
        if (isDisabled()) {
            state.disabled = true;
        }
        if (const auto* button = dynamic_cast<const QAbstractButton*>(widget())) {
            state.checkable = button->isCheckable();
            state.checked = button->isChecked();
            state.pressed = button->isDown();
        }
        return state;
    }

    QStringList actionNames() const override {
        QStringList names;
        if (const auto* button = dynamic_cast<const QAbstractButton*>(widget());
            button && button->isEnabled() && !isDisabled()) {
            names << (button->isCheckable() ? toggleAction() : pressAction());
        }
        return names << QAccessibleWidget::actionNames();
    }

    void doAction(const QString& name) override {
        if (auto* button = dynamic_cast<QAbstractButton*>(widget());
            button && !isDisabled() && (name == pressAction() || name == toggleAction())) {
            button->click();
            return;
        }
        QAccessibleWidget::doAction(name);
    }

private:
    bool isDisabled() const { return widget()->property(disabledProperty).toBool(); }
};

/// The application with its open popups, which the toolkit leaves out: a reader that walks from the top finds
/// the panel.
class ApplicationInterface : public QAccessibleApplication {
public:
    int childCount() const override {
        return QAccessibleApplication::childCount() + static_cast<int>(popups().size());
    }

    QAccessibleInterface* child(int index) const override {
        const int known = QAccessibleApplication::childCount();
        return index < known ? QAccessibleApplication::child(index)
                             : QAccessible::queryAccessibleInterface(popups().value(index - known));
    }

    int indexOfChild(const QAccessibleInterface* child) const override {
        const int index = QAccessibleApplication::indexOfChild(child);
        const auto popup = child ? popups().indexOf(dynamic_cast<QWidget*>(child->object())) : -1;
        return index >= 0 || popup < 0 ? index
                                       : QAccessibleApplication::childCount() + static_cast<int>(popup);
    }

private:
    static QWidgetList popups() {
        QWidgetList found;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (widget->windowType() == Qt::Popup && widget->isVisible()) {
                found << widget;
            }
        }
        return found;
    }
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    if (object == qApp) {
        return new ApplicationInterface;
    }
    auto* widget = dynamic_cast<QWidget*>(object);
    const QVariant role = widget ? widget->property(roleProperty) : QVariant();
    return role.isValid() ? new RoleInterface(widget, static_cast<QAccessible::Role>(role.toInt())) : nullptr;
}

} // namespace

void installAccessibility() {
    QAccessible::installFactory(makeInterface);
}

void setAccessible(QWidget& widget, QAccessible::Role role, const QString& name, const QString& description) {
    widget.setProperty(roleProperty, static_cast<int>(role));
    widget.setAccessibleName(name);
    widget.setAccessibleDescription(description);
}

void setAccessibleText(QWidget& widget, const QString& name) {
    if (widget.accessibleName() != name) {
        widget.setAccessibleName(name);
    }
}

void setAccessibleValue(QWidget& widget, const QString& value) {
    if (widget.property(valueProperty).toString() == value) {
        return;
    }
    widget.setProperty(valueProperty, value);
    widget.setAccessibleDescription(value); // tells readers of the change
}

void setAccessibleDisabled(QWidget& widget, bool disabled) {
    if (widget.property(disabledProperty).toBool() == disabled) {
        return;
    }
    widget.setProperty(disabledProperty, disabled);
    if (QAccessible::isActive()) {
        QAccessible::State changed;
        changed.disabled = true;
        QAccessibleStateChangeEvent event(&widget, changed);
        QAccessible::updateAccessibility(&event);
    }
}

void setAccessibleSelected(QWidget& widget, bool selected) {
    widget.setProperty(selectedProperty, selected);
    if (QAccessible::isActive()) {
        QAccessible::State changed;
        changed.selected = true;
        QAccessibleStateChangeEvent event(&widget, changed);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace ZorbelKit
