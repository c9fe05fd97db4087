#include "ZorbelKit/Surfaces/Theme.hpp"

#include "ZorbelKit/Palette.hpp"

#include <QApplication>
#include <QPainter>
#include <QPalette>

#include <cmath>
#include <utility>

namespace ZorbelKit {

QColor qColor(const Color& colour) {
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue), static_cast<float>(colour.opacity));
}

QFont interfaceFont(double points, QFont::Weight weight, double tracking) {
    // Families are looked up when text is first drawn, so a program that shows no text loads no fonts.
    QFont font;
    font.setFamilies({"Inter", "Noto Sans", "DejaVu Sans", "sans-serif"});
    font.setPointSizeF(points * 72.0 / 96.0);
    font.setWeight(weight);
    if (tracking != 0) {
        font.setLetterSpacing(QFont::AbsoluteSpacing, tracking);
    }
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QEasingCurve easing(const Pour::Curve& curve) {
    QEasingCurve result(QEasingCurve::BezierSpline);
    result.addCubicBezierSegment({curve.first.x, curve.first.y}, {curve.second.x, curve.second.y}, {1, 1});
    return result;
}

int milliseconds(Seconds duration) {
    return static_cast<int>(std::lround(duration.count() * 1000));
}

namespace {

std::function<bool()>& blendQuestion() {
    static std::function<bool()> question;
    return question;
}

} // namespace

bool desktopBlends() {
    return blendQuestion() && blendQuestion()();
}

void applyTheme(QApplication& application, std::function<bool()> canBlend) {
    blendQuestion() = std::move(canBlend);
    QPalette colours;
    colours.setColor(QPalette::Window, qColor(kettle));
    colours.setColor(QPalette::WindowText, qColor(malai));
    colours.setColor(QPalette::Base, qColor(stall));
    colours.setColor(QPalette::AlternateBase, qColor(kettleHi));
    colours.setColor(QPalette::Text, qColor(malai));
    colours.setColor(QPalette::PlaceholderText, qColor(malaiFaint));
    colours.setColor(QPalette::Button, qColor(kettleHi));
    colours.setColor(QPalette::ButtonText, qColor(malai));
    colours.setColor(QPalette::BrightText, qColor(mist));
    colours.setColor(QPalette::Highlight, qColor(brass));
    colours.setColor(QPalette::HighlightedText, qColor(stall));
    colours.setColor(QPalette::ToolTipBase, qColor(kettleHi));
    colours.setColor(QPalette::ToolTipText, qColor(malai));
    colours.setColor(QPalette::Link, qColor(brass));
    colours.setColor(QPalette::Light, qColor(rim));
    colours.setColor(QPalette::Mid, qColor(rim));
    colours.setColor(QPalette::Dark, qColor(stall));
    colours.setColor(QPalette::Shadow, qColor(stall));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        colours.setColor(QPalette::Disabled, role, qColor(malaiFaint));
    }
    application.setPalette(colours);
}

void paintFocusRing(QPainter& painter, const QRectF& rect, double radius) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(qColor(mist), 1.5));
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), radius - 1, radius - 1);
}

} // namespace ZorbelKit
