#include "Tests/Views/ViewTests.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QPixmap>
#include <QScreen>
#include <gtest/gtest.h>

namespace Views {

void savePicture(QWidget& widget, const QString& name) {
    QDir().mkpath(ZORBEL_PICTURES);
    EXPECT_TRUE(widget.grab().save(QStringLiteral(ZORBEL_PICTURES "/%1.png").arg(name)));
}

void settle() {
    for (int round = 0; round < 4; ++round) {
        QApplication::sendPostedEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QApplication::processEvents();
    }
}

void show(QWidget& widget, QSize size) {
    // The pointer begins where windows do, in the corner; nothing shall be under it unless a test says so.
    QCursor::setPos(QGuiApplication::primaryScreen()->geometry().bottomRight());
    widget.resize(size);
    widget.show();
    settle();
}

QStringList visibleTexts(const QWidget& widget) {
    QStringList texts;
    for (const QWidget* child : widget.findChildren<QWidget*>()) {
        if (!child->isVisibleTo(&widget)) {
            continue;
        }
        if (const auto* label = dynamic_cast<const QLabel*>(child); label && label->height() > 0) {
            texts << label->text();
        } else if (dynamic_cast<const ZorbelKit::Reading*>(child)) {
            texts << child->accessibleName();
        }
    }
    return texts;
}

bool showsText(const QWidget& widget, const QString& text) {
    return visibleTexts(widget).contains(text);
}

QAbstractButton* button(const QWidget& widget, const QString& name) {
    for (auto* candidate : widget.findChildren<QAbstractButton*>()) {
        if (candidate->text() == name || candidate->accessibleName() == name) {
            return candidate;
        }
    }
    return nullptr;
}

QWidget* named(const QWidget& widget, const QString& name) {
    for (auto* candidate : widget.findChildren<QWidget*>()) {
        if (candidate->accessibleName() == name) {
            return candidate;
        }
    }
    return nullptr;
}

PaintCounter::PaintCounter(QWidget& window) {
    window.installEventFilter(this);
    for (auto* child : window.findChildren<QWidget*>()) {
        child->installEventFilter(this);
    }
}

bool PaintCounter::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        ++counts_[watched];
    }
    return false;
}

int PaintCounter::paintsOf(const QWidget* widget) const {
    const auto found = counts_.find(widget);
    return found == counts_.end() ? 0 : found->second;
}

int PaintCounter::all() const {
    int sum = 0;
    for (const auto& [widget, count] : counts_) {
        sum += count;
    }
    return sum;
}

} // namespace Views

int main(int argumentCount, char** arguments) {
    ::testing::InitGoogleTest(&argumentCount, arguments);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argumentCount, arguments);
    ZorbelKit::applyTheme(application);
    ZorbelKit::installAccessibility();
    ZorbelKit::setMotionReduced(true); // pictures show the end of every motion
    return RUN_ALL_TESTS();
}
