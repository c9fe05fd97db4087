#pragma once

#include <QImage>

#include <string>
#include <vector>

namespace Bench {

/// A picture of a screen, and what is written on it.
struct TextPicture {
    std::string kind; // "light", "dark", "grey", "buttons", "code", "columns", "photograph" and the like
    std::string name; // tells it from all others; a name for a file
    int textSize = 0; // pixels
    QImage image;
    std::string text; // words in reading order, a blank between them

    /// One column on one flat ground.
    bool isPlain() const { return kind == "light" || kind == "dark" || kind.starts_with("grey"); }
};

/// The same ones at every call. Needs a QGuiApplication, and the fonts that `need bench` installs.
std::vector<TextPicture> textPictures();

/// A full-HD screen of dense text, light or dark.
TextPicture textScreen(bool isDark);

} // namespace Bench
