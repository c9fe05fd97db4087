#pragma once

#include "Platforms/Linux/MenuBar/TrayItemState.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <QImage>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Linux {

/// A picture to paint on the bar: at most `side` device pixels high and three times as wide.
struct TrayImage {
    QImage image;            // in device pixels, premultiplied; null where nothing could be found
    bool isTemplate = false; // only its shape counts: it is painted in the bar's own colour
};

/// Finds and decodes pictures that other programs name. A themed name wins over pixmaps when it resolves; an
/// absolute path is loaded; a folder of the item's own is searched before the user's theme. A file that the
/// item itself leads to is looked at only if it is a regular one of at most 4 MB, and is found and decoded
/// off the main thread; the user's theme is trusted, and read by the toolkit. The file last shown is not read
/// again while it stays the same. Main thread only.
class TrayIconLoader {
public:
    static constexpr qint64 largestFile = 4 << 20; // bytes
    static constexpr int longestSide = 2048;       // pixels a file may declare; drawings may declare any

    explicit TrayIconLoader(ZorbelKit::MainLoop& loop);

    /// Calls `loaded` once, at once where nothing needs to be read from the item's own files, unless a later
    /// call or this object's end comes first. Falls back from the name to the pixmaps, and where both fail to
    /// a neutral picture: an item never is a hole. However often it is called, one file is read at a time.
    void load(const TrayPicture& picture, const QString& themePath, int side,
              std::function<void(TrayImage)> loaded);

private:
    struct Request {
        TrayPicture picture;
        QString themePath;
        int side = 0;
        std::function<void(TrayImage)> loaded;
        int number = 0;
    };

    /// What a file was when it was read.
    struct FileStamp {
        std::uint64_t device = 0;
        std::uint64_t node = 0;
        std::int64_t size = 0;
        std::int64_t changedSeconds = 0;
        std::int64_t changedNanoseconds = 0;
        bool operator==(const FileStamp&) const = default;
    };

    struct FilePicture {
        QString name; // asked for, with the folder and side
        QString themePath;
        int side = 0;
        std::string file; // found; empty where there is none
        FileStamp stamp;
        QImage image; // null where none of the files found is a picture
    };

    static std::optional<FileStamp> stampOf(const std::string& file);
    static FilePicture pictureFromFiles(FilePicture asked);

    void readFile();
    void fileRead(int number, const FilePicture& found);

    ZorbelKit::MainLoop& loop_;
    std::optional<Request> request_; // the newest, while it waits for its file
    int number_ = 0;                 // of the newest request
    bool isReading_ = false;
    FilePicture shown_;
    ZorbelKit::Lifetime alive_;
};

/// Tells the toolkit which icon theme to take names from where it has none of its own: the desktop's setting,
/// else Adwaita, else hicolor. Once, at start.
void chooseIconTheme();

} // namespace Linux
