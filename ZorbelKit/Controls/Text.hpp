#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Time.hpp"

#include <QFont>
#include <QLabel>

#include <string_view>

namespace ZorbelKit {

/// A model's text (UTF-8) for the toolkit.
inline QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The time of day where the user lives, in the short form of the user's language: "14:02", "2:02 PM".
QString timeOfDay(TimePoint moment);

/// A tool tip that shows a text as it is, whatever marks are in it, and breaks long lines.
QString toolTipText(std::string_view text);

enum class TextStyle { callout, caption };

QFont styleFont(TextStyle style); // callout 12 points, caption 10

/// A plain text in one colour. `setText` with an equal text repaints nothing.
QLabel* makeText(const QString& text, const QFont& font, const Color& colour, QWidget* parent = nullptr);
QLabel* makeText(const QString& text, TextStyle style, const Color& colour, QWidget* parent = nullptr);

/// The small heading of a group of controls, in capitals.
QLabel* makeHeading(const QString& text, QWidget* parent = nullptr);

} // namespace ZorbelKit
