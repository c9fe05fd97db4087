#include "ZorbelKit/Controls/EmptyCard.hpp"

#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QVBoxLayout>

namespace ZorbelKit {

namespace {

// Points.
constexpr double iconSize = 64;
constexpr int iconGap = 14;
constexpr int lineGap = 6;
constexpr int paragraphWidth = 340;

} // namespace

QLabel* makeCentredParagraph(const QString& text, QWidget* parent) {
    QLabel* label = makeText(text, interfaceFont(11), malaiDim, parent);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignHCenter);
    label->setFixedSize(paragraphWidth, label->heightForWidth(paragraphWidth));
    return label;
}

QWidget* makeEmptyCard(const std::string& spice, const QString& line, const QString& words, int height,
                       QWidget* parent) {
    auto* content = new QWidget;
    auto* column = makeColumn(content, lineGap);
    column->addStretch();
    column->addWidget(new SpiceIcon(spice, iconSize, /*dimmed=*/true, content), 0, Qt::AlignHCenter);
    column->addSpacing(iconGap - lineGap);
    column->addWidget(makeText(line, TextStyle::callout, malai, content), 0, Qt::AlignHCenter);
    column->addWidget(makeCentredParagraph(words, content), 0, Qt::AlignHCenter);
    column->addStretch();
    auto* card = new Counter(false, content, parent);
    card->setMinimumHeight(height);
    return card;
}

} // namespace ZorbelKit
