#include "ZorbelKit/Controls/Text.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QDateTime>
#include <QLocale>

#include <chrono>

namespace ZorbelKit {

QString timeOfDay(TimePoint moment) {
    const auto since = std::chrono::floor<std::chrono::milliseconds>(moment.time_since_epoch()).count();
    const QTime time = QDateTime::fromMSecsSinceEpoch(since).time();
    // Where no language is set, even the short form has seconds.
    return QLocale().language() == QLocale::C ? time.toString("HH:mm")
                                              : QLocale().toString(time, QLocale::ShortFormat);
}

QString toolTipText(std::string_view text) {
    return QStringLiteral("<div style='white-space:pre-wrap'>%1</div>").arg(qString(text).toHtmlEscaped());
}

QFont styleFont(TextStyle style) {
    return interfaceFont(style == TextStyle::callout ? 12 : 10);
}

QLabel* makeText(const QString& text, const QFont& font, const Color& colour, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setFont(font);
    QPalette colours = label->palette();
    colours.setColor(QPalette::WindowText, qColor(colour));
    label->setPalette(colours);
    label->setForegroundRole(QPalette::WindowText); // inside a button it would take the button's own
    return label;
}

QLabel* makeText(const QString& text, TextStyle style, const Color& colour, QWidget* parent) {
    return makeText(text, styleFont(style), colour, parent);
}

QLabel* makeHeading(const QString& text, QWidget* parent) {
    // The role before the text: with the text the toolkit introduces the label to readers, once and for all.
    QLabel* label = makeText("", interfaceFont(10, QFont::Medium, 0.9), malaiFaint, parent);
    setAccessible(*label, QAccessible::Heading, text.toUpper());
    label->setText(text.toUpper());
    return label;
}

} // namespace ZorbelKit
