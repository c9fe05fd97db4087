#include "Benchmarks/TextPictures.hpp"

#include "Benchmarks/Measure.hpp"

#include <QFontInfo>
#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <random>

namespace Bench {

namespace {

constexpr std::array families{"DejaVu Sans", "Liberation Sans", "Liberation Serif", "DejaVu Sans Mono",
                              "Inter"};
constexpr std::array sizes{8, 9, 10, 11, 12, 14, 16};

constexpr std::array words{
    "the",      "and",      "window",  "screen",   "with",    "from",    "setting", "another",  "picture",
    "between",  "language", "default", "Quick",    "Jumping", "message", "network", "Volume",   "Brightness",
    "keyboard", "of",       "a",       "to",       "in",      "is",      "that",    "folder",   "document",
    "download", "Friday",   "January", "zero",     "extra",   "display", "colour",  "history",  "System",
    "update",   "restart",  "later",   "question", "answer",  "Kitchen", "morning", "weather",  "journey",
    "yellow",   "purple",   "machine", "silently", "office",  "figure",  "Battery", "charging", "remaining",
    "example",  "visible",  "pixel",   "shadow",   "gallery", "library", "package", "version",  "released"};

constexpr std::array oddities{"3.14",
                              "2026",
                              "(see below)",
                              "100%",
                              "v1.2.3",
                              "12:45",
                              "$49.99",
                              "e-mail",
                              "don't",
                              "README.md",
                              "/usr/share/doc",
                              "user@example.org",
                              "\"quoted\"",
                              "A4",
                              "Wi-Fi",
                              "16 GB",
                              "C++",
                              "4,096",
                              "x86",
                              "https://example.org/page",
                              "[draft]",
                              "key=value",
                              "#42",
                              "and/or"};

constexpr std::array code{"for (int i = 0; i < count; ++i) {",
                          "    total += values[i] * weight;",
                          "    if (total > limit) break;",
                          "}",
                          "const auto found = names.find(key);",
                          "return found == names.end() ? 0 : 1;",
                          "#include <vector>",
                          "std::vector<int> numbers{1, 2, 3};",
                          "void draw(Painter& painter, const Rect& box);",
                          "def area(width, height=10):",
                          "    return width * height / 2",
                          "print(f\"{name}: {value}\")",
                          "export PATH=$HOME/bin:$PATH",
                          "git commit -m \"Fix the build\"",
                          "while (!queue.empty()) { queue.pop(); }",
                          "struct Point { double x; double y; };",
                          "assert(result != nullptr);",
                          "let mut lines = text.split('\\n');"};

constexpr std::array labels{"Cancel", "Save", "Open", "Apply", "Delete", "Sign in", "Continue", "Help"};

QColor grey(int level) {
    return QColor::fromRgb(level, level, level);
}

class Author {
public:
    explicit Author(std::uint32_t seed)
        : random_(seed) {}

    // Not a distribution of the library's: each draws in its own way.
    int below(int count) { return static_cast<int>(random_() % static_cast<std::uint32_t>(count)); }

    template <class List>
    std::string oneOf(const List& list) {
        return list[static_cast<std::size_t>(below(static_cast<int>(std::size(list))))];
    }

    /// As many words as fit.
    std::string line(const QFontMetrics& metrics, int width) {
        std::string text;
        for (;;) {
            std::string next = below(5) == 0 ? oneOf(oddities) : oneOf(words);
            const int ending = below(12);
            next += ending == 0 ? "," : ending == 1 ? "." : ending == 2 ? ":" : "";
            const std::string longer = text.empty() ? next : text + " " + next;
            if (metrics.horizontalAdvance(QString::fromStdString(longer)) > width) {
                return text;
            }
            text = longer;
        }
    }

private:
    std::mt19937 random_;
};

QFont fontOf(const char* family, int size) {
    QFont font(QString::fromLatin1(family));
    font.setPixelSize(size);
    if (QFontInfo(font).family() != QString::fromLatin1(family)) {
        fail(std::string("the font ") + family + " is not installed");
    }
    return font;
}

/// Draws lines into a column and notes what they say.
class Page {
public:
    Page(int width, int height, const QColor& ground)
        : image(width, height, QImage::Format_RGB32) {
        image.fill(ground);
        painter.begin(&image);
    }

    void write(int x, int baseline, const std::string& text, const QColor& colour) {
        painter.setPen(colour);
        painter.drawText(x, baseline, QString::fromStdString(text));
        note(text);
    }
    void note(const std::string& text) { said += said.empty() ? text : " " + text; }

    void prose(Author& author, const QRect& area, const QFont& font, const QColor& colour) {
        painter.setFont(font);
        const QFontMetrics metrics(font);
        const int step = metrics.height() + std::max(1, font.pixelSize() / 5);
        for (int y = area.top() + metrics.ascent(); y + metrics.descent() < area.bottom(); y += step) {
            write(area.left(), y, author.line(metrics, area.width()), colour);
        }
    }

    /// `label` in the middle of a button; noted where its place in the order is.
    void button(const QRect& box, const std::string& label, const QColor& ground, const QColor& colour) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(ground);
        painter.drawRoundedRect(box, 4, 4);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(colour);
        painter.drawText(box, Qt::AlignCenter, QString::fromStdString(label));
        note(label);
    }

    TextPicture finished(const std::string& kind, const char* family, int size) {
        painter.end();
        std::string name = kind + "-" + family + "-" + std::to_string(size);
        std::replace(name.begin(), name.end(), ' ', '-');
        return {kind, name, size, image, said};
    }

    QImage image;
    QPainter painter;
    std::string said;
};

/// Light and shade as of a photograph, with its grain.
void paintPhotograph(QImage& image, Author& author, int darkest, int brightest) {
    const double phase = author.below(100) / 10.0;
    for (int y = 0; y < image.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const auto wave = [&](double along, double across, double shift) {
                const double value = std::sin(x * along + phase + shift) * std::cos(y * across - shift) +
                                     0.5 * std::sin((x + 2 * y) * along / 2);
                return darkest + static_cast<int>((value + 1.5) / 3 * (brightest - darkest));
            };
            const int grain = author.below(9) - 4;
            const auto level = [&](int value) { return std::clamp(value + grain, 0, 255); };
            row[x] = qRgb(level(wave(0.011, 0.017, 0)), level(wave(0.013, 0.009, 1)),
                          level(wave(0.007, 0.015, 2)));
        }
    }
}

TextPicture plain(const char* kind, const QColor& ground, const QColor& colour, const char* family, int size,
                  std::uint32_t seed) {
    Author author(seed);
    Page page(620, 300, ground);
    page.prose(author, QRect(16, 14, 588, 272), fontOf(family, size), colour);
    return page.finished(kind, family, size);
}

TextPicture buttons(const char* family, int size, std::uint32_t seed) {
    Author author(seed);
    Page page(760, 320, Qt::white);
    const QFont font = fontOf(family, size);
    page.painter.fillRect(0, 0, 180, 320, grey(43));
    page.prose(author, QRect(14, 14, 152, 200), font, grey(220));
    page.prose(author, QRect(200, 14, 540, 200), font, grey(32));
    const std::array grounds{QColor::fromRgb(28, 113, 216), QColor::fromRgb(38, 162, 105),
                             QColor::fromRgb(192, 28, 40), QColor::fromRgb(230, 140, 30)};
    const int height = size * 2 + 8;
    for (int column = 0; column < 4; ++column) {
        page.button(QRect(204 + 134 * column, 240, 120, height), author.oneOf(labels),
                    grounds[static_cast<std::size_t>(column)], Qt::white);
    }
    return page.finished("buttons", family, size);
}

TextPicture codePage(int size, bool isDark, std::uint32_t seed) {
    Author author(seed);
    Page page(620, 340, isDark ? grey(30) : QColor(Qt::white));
    const char* family = "DejaVu Sans Mono";
    const QFont font = fontOf(family, size);
    page.painter.setFont(font);
    const QFontMetrics metrics(font);
    const std::array light{grey(30), QColor::fromRgb(0, 0, 170), QColor::fromRgb(160, 30, 20),
                           QColor::fromRgb(20, 110, 40)};
    const std::array dark{grey(212), QColor::fromRgb(86, 156, 214), QColor::fromRgb(206, 145, 120),
                          QColor::fromRgb(106, 153, 85)};
    for (int y = 14 + metrics.ascent(); y + metrics.descent() < 330; y += metrics.lineSpacing() + 2) {
        const auto colour = static_cast<std::size_t>(author.below(4));
        page.write(16, y, author.oneOf(code), isDark ? dark[colour] : light[colour]);
    }
    return page.finished(isDark ? "code-dark" : "code", family, size);
}

TextPicture columns(const char* family, int size, std::uint32_t seed) {
    Author author(seed);
    Page page(760, 320, Qt::white);
    const QFont font = fontOf(family, size);
    page.prose(author, QRect(16, 14, 340, 290), font, grey(32));
    page.prose(author, QRect(404, 14, 340, 290), font, grey(32));
    return page.finished("columns", family, size);
}

TextPicture photograph(const char* family, int size, bool isDark, std::uint32_t seed) {
    Author author(seed);
    Page page(620, 300, Qt::white);
    page.painter.end();
    paintPhotograph(page.image, author, isDark ? 10 : 170, isDark ? 110 : 250);
    page.painter.begin(&page.image);
    page.prose(author, QRect(24, 24, 572, 250), fontOf(family, size), isDark ? QColor(Qt::white) : grey(10));
    return page.finished(isDark ? "photograph-dark" : "photograph", family, size);
}

} // namespace

std::vector<TextPicture> textPictures() {
    std::vector<TextPicture> pictures;
    std::uint32_t seed = 1;
    for (const char* family : families) {
        for (const int size : sizes) {
            pictures.push_back(plain("light", Qt::white, grey(32), family, size, seed++));
            pictures.push_back(plain("dark", grey(30), grey(212), family, size, seed++));
        }
        pictures.push_back(plain("grey", Qt::white, grey(168), family, 12, seed++));
        pictures.push_back(plain("grey-dark", grey(43), grey(106), family, 12, seed++));
        pictures.push_back(buttons(family, 11, seed++));
        pictures.push_back(buttons(family, 14, seed++));
        pictures.push_back(columns(family, 11, seed++));
        pictures.push_back(columns(family, 14, seed++));
    }
    for (const int size : {10, 12, 14}) {
        pictures.push_back(codePage(size, false, seed++));
        pictures.push_back(codePage(size, true, seed++));
        pictures.push_back(photograph("DejaVu Sans", size + 2, false, seed++));
        pictures.push_back(photograph("Inter", size + 2, true, seed++));
    }
    return pictures;
}

TextPicture textScreen(bool isDark) {
    Author author(isDark ? 1002 : 1001);
    Page page(1920, 1080, isDark ? grey(30) : QColor(Qt::white));
    page.prose(author, QRect(24, 24, 1870, 1040), fontOf("DejaVu Sans", 14), grey(isDark ? 212 : 32));
    return page.finished(isDark ? "screen-dark" : "screen", "DejaVu Sans", 14);
}

} // namespace Bench
