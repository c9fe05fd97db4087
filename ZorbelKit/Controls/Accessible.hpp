#pragma once

#include <QAccessible>
#include <QString>

class QWidget;

namespace ZorbelKit {

/// Makes the suite's widgets and its open panels known to screen readers. Once, after the application object
/// is made.
void installAccessibility();

/// Tells screen readers what a widget painted by hand is and what it is called. The widget's text, where it
/// has one, must be repeated here whenever it changes.
void setAccessible(QWidget& widget, QAccessible::Role role, const QString& name,
                   const QString& description = {});

/// A new name for a widget already introduced; tells readers only on a change.
void setAccessibleText(QWidget& widget, const QString& name);

/// What a control holds now, "8 seconds" beside the name "Hide again after". Told as the description as well:
/// the Linux readers know no other place for a value that is no number.
void setAccessibleValue(QWidget& widget, const QString& value);

/// Says of a widget that stays enabled for the sake of the controls on it that it cannot be pressed itself.
void setAccessibleDisabled(QWidget& widget, bool disabled);

/// Marks a widget as the chosen one of its list.
void setAccessibleSelected(QWidget& widget, bool selected);

} // namespace ZorbelKit
