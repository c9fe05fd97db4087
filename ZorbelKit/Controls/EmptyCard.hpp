#pragma once

#include <QString>

#include <string>

class QLabel;
class QWidget;

namespace ZorbelKit {

/// A few words below a line, in the middle and as wide as they read well.
QLabel* makeCentredParagraph(const QString& text, QWidget* parent);

/// What stands in place of a list while there is nothing on it: a card with the spice's icon, what is
/// missing, and what will come. At least `height` points high.
QWidget* makeEmptyCard(const std::string& spice, const QString& line, const QString& words, int height,
                       QWidget* parent);

} // namespace ZorbelKit
