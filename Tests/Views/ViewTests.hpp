#pragma once

#include <QAbstractButton>
#include <QEvent>
#include <QLabel>
#include <QWidget>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

/// Helpers for tests of real widgets on the offscreen platform.
namespace Views {

/// Saves what the widget looks like as `name`.png in the pictures folder.
void savePicture(QWidget& widget, const QString& name);

/// Shows the widget at this size and lets it lay itself out.
void show(QWidget& widget, QSize size);

/// Lets posted events (layout, paint, deletion) run.
void settle();

/// The visible texts below the widget, in the order of its children: labels, and readings by their spoken
/// name.
QStringList visibleTexts(const QWidget& widget);

bool showsText(const QWidget& widget, const QString& text);

/// The button with this text or spoken name; null where there is none.
QAbstractButton* button(const QWidget& widget, const QString& name);

/// The topmost descendant with this accessible name; null where there is none.
QWidget* named(const QWidget& widget, const QString& name);

/// The visible descendants of this class.
template <class Part>
std::vector<Part*> parts(const QWidget& widget) {
    std::vector<Part*> found;
    for (QWidget* child : widget.findChildren<QWidget*>()) {
        if (auto* part = dynamic_cast<Part*>(child); part && part->isVisibleTo(&widget)) {
            found.push_back(part);
        }
    }
    return found;
}

/// One of them, by its place among them; there has to be such.
template <class Part>
Part& part(const QWidget& widget, std::size_t index = 0) {
    const auto found = parts<Part>(widget);
    if (index >= found.size()) {
        throw std::runtime_error("no such part");
    }
    return *found[index];
}

/// Counts the paint events of every widget of a window.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget& window);
    int paintsOf(const QWidget* widget) const;
    int all() const;
    void reset() { counts_.clear(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::map<const QObject*, int> counts_;
};

} // namespace Views
