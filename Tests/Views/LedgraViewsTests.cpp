#include "Ledgra/FileDragViews.hpp"
#include "Ledgra/FileIconViews.hpp"
#include "Ledgra/FileUrls.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Ledgra/LedgraViews.hpp"
#include "Ledgra/ShelfViews.hpp"
#include "Ledgra/TileViews.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "ZorbelKit/Controls/Switch.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QBuffer>
#include <QDrag>
#include <QDragEnterEvent>
#include <QIcon>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <QSysInfo>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Ledgra;
using namespace Views;
using ZorbelKit::Switch;
using ZorbelKit::Symbol;
namespace fs = std::filesystem;

using Paths = std::vector<fs::path>;

constexpr QSize stripSize(340, 128);

/// Names as people give them, and worse.
const Paths manyFiles{"/home/ada/Chai stall, summer cut (final).mov",
                      "/home/ada/Invoice 2026-11.pdf",
                      "/home/ada/Recipes",
                      "/home/ada/\xF0\x9F\x8D\xB5 masala.txt",
                      "/home/ada/a_very_long_name_without_any_space_in_it_at_all.tar.gz",
                      "/home/ada/notes.md",
                      "/home/ada/bad \xFF\xFE name.png",
                      "/home/ada/two\nlines.txt",
                      "/home/ada/IMG_20261122_034512.jpg",
                      "/home/ada/\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D.odt",
                      "/home/ada/x",
                      "/home/ada/Budget.ods"};

/// What a drag brings along.
class Load : public QMimeData {
public:
    explicit Load(QByteArray list, QString type = "text/uri-list")
        : list_(std::move(list))
        , type_(std::move(type)) {}

    QStringList formats() const override { return {type_}; }
    bool hasFormat(const QString& type) const override { return type == type_; }

protected:
    QVariant retrieveData(const QString& type, QMetaType) const override {
        return type == type_ ? QVariant(list_) : QVariant();
    }

private:
    QByteArray list_;
    QString type_;
};

std::string png(int width, int height, Qt::GlobalColor colour) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "png");
    return buffer.data().toStdString();
}

class LedgraViewsTest : public SpiceViewTest {
protected:
    LedgraViewsTest() { ZorbelKit::applyTheme(*qApp, [this] { return canBlend; }); }
    ~LedgraViewsTest() override { ZorbelKit::applyTheme(*qApp); }

    ShelfView& openShelf() { return openPage(new ShelfView(spice, &ground), stripSize); }
    LedgraPanel& openPanel(int width = pageWidth) { return openPage(new LedgraPanel(spice, &ground), width); }
    LedgraMenuSection& openSection() {
        return SpiceViewTest::openSection(new LedgraMenuSection(spice, &ground));
    }

    void stage(const Paths& paths) {
        spice.stage(paths);
        settle();
    }

    void stageMany() {
        stage(manyFiles);
        for (const auto& [file, icon] : host.parkedFiles.icons) {
            if (file.extension() == ".jpg") {
                icon->setLook({.names = {"image-jpeg"}, .thumbnail = png(160, 107, Qt::darkCyan)});
            } else if (file.filename() == "Recipes") {
                icon->setLook({.names = {"folder"}, .thumbnail = {}});
            }
        }
        settle();
    }

    static std::vector<StagedTile*> tilesIn(const QWidget& widget) { return parts<StagedTiles>(widget).front()->tiles(); }
    static StagedTile& tile(const QWidget& widget, std::size_t index) { return *tilesIn(widget).at(index); }
    static RemoveButton* removeOf(const StagedTile& tile) {
        const auto found = parts<RemoveButton>(tile);
        return found.empty() ? nullptr : found.front();
    }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const Staged& item : spice.staged()) {
            names.push_back(item.name);
        }
        return names;
    }

    // Drags

    static bool enter(QWidget& widget, const QMimeData& load, Qt::DropActions actions = Qt::CopyAction) {
        QDragEnterEvent event(QPoint(10, 10), actions, &load, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }

    static bool move(QWidget& widget, const QMimeData& load, Qt::DropActions actions = Qt::CopyAction) {
        QDragMoveEvent event(QPoint(20, 20), actions, &load, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }

    static void leave(QWidget& widget) {
        QDragLeaveEvent event;
        QApplication::sendEvent(&widget, &event);
    }

    static bool drop(QWidget& widget, const QMimeData& load, Qt::DropActions actions = Qt::CopyAction) {
        QDropEvent event(QPointF(20, 20), actions, &load, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&widget, &event);
        return event.isAccepted() && event.dropAction() == Qt::CopyAction;
    }

    /// Presses on a tile and moves as far as begins a drag. `meanwhile` is called while it runs, and then it
    /// is given up. False where none ran.
    bool dragTile(StagedTile& dragged, const std::function<void()>& meanwhile) {
        QWindow* window = ground.windowHandle();
        const QPoint from = dragged.mapTo(&ground, QPoint(20, 30));
        bool ran = false;
        QTimer::singleShot(0, &ground, [&] { QTimer::singleShot(0, &ground, [&] {
            // The drag's own loop runs now, where there is one.
            ran = QApplication::findChildren(qApp).empty() ? ran : isDragging();
            meanwhile();
            settle();
            QDrag::cancel();
        }); });
        QTest::mousePress(window, Qt::LeftButton, {}, from);
        QTest::mouseMove(window, from + QPoint(30, 0));
        settle();
        QTest::mouseRelease(window, Qt::LeftButton, {}, from + QPoint(30, 0));
        settle();
        return ran;
    }

    static bool isDragging() { return !qApp->findChildren<QDrag*>().empty(); }

    bool canBlend = true;
    Simulated::SimulatedHost host;
    LedgraSpice spice{{.clock = host.clock,
                       .defaults = host.defaults,
                       .screens = host.screens,
                       .fileManager = host.fileManager,
                       .panels = host.floatingPanels,
                       .files = host.parkedFiles}};
};
