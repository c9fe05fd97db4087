#pragma once

#include "Platforms/Linux/MenuBar/TrayItemState.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <QImage>

#include <functional>

namespace Linux {

/// A picture to paint on the bar: at most `side` device pixels high and three times as wide.
struct TrayImage {
    QImage image;            // in device pixels; null where nothing could be found
    bool isTemplate = false; // only its shape counts: it is painted in the bar's own colour
};

/// Finds and decodes pictures that other programs name. A themed name wins over pixmaps when it resolves; an
/// absolute path is loaded; a folder of the item's own is searched before the user's theme. A file is looked
/// at only if it is a regular one of at most 4 MB, is decoded off the main thread and never larger than it is
/// shown. Main thread only.
class TrayIconLoader {
public:
    static constexpr qint64 largestFile = 4 << 20; // bytes

    explicit TrayIconLoader(ZorbelKit::MainLoop& loop);

    /// Calls `loaded` once, at once where nothing needs to be read from a file, unless a later call or this
    /// object's end comes first. Falls back from the name to the pixmaps, and where both fail to a neutral
    /// picture: an item never is a hole.
    void load(const TrayPicture& picture, const QString& themePath, int side,
              std::function<void(TrayImage)> loaded);

private:
    ZorbelKit::MainLoop& loop_;
    ZorbelKit::Lifetime wanted_; // renewed by each load
};

/// Tells the toolkit which icon theme to take names from: the desktop's own setting, else Adwaita, else
/// hicolor. Once, at start.
void chooseIconTheme();

} // namespace Linux
