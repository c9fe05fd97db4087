#include "Platforms/Linux/Text/PageReading.hpp"

#include "Platforms/Linux/Text/TextLines.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"

#include <QPainter>
#include <QString>

#include <algorithm>
#include <cstdint>
#include <span>
#include <system_error>
#include <thread>

namespace Linux {

namespace {

// More pixels are not looked at; a picture with more is made smaller. A page takes some fourteen bytes a
// pixel.
constexpr std::int64_t mostPixels = 24'000'000;

constexpr float leastConfidence = 40; // per cent

// There are no more pieces of lines on a screen, but in noise there are.
constexpr std::size_t mostPieces = 2500;

/// Opaque, on white where it was not, and no larger than what is looked at.
QImage prepared(const QImage& page) {
    QImage image = page;
    while (std::int64_t{image.width()} * image.height() > mostPixels) {
        image = image.scaled(std::max(1, image.width() / 2), std::max(1, image.height() / 2),
                             Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    if (image.hasAlphaChannel()) {
        QImage opaque(image.size(), QImage::Format_RGB32);
        opaque.fill(Qt::white);
        QPainter(&opaque).drawImage(0, 0, image);
        return opaque;
    }
    return image.convertToFormat(QImage::Format_RGB32);
}

PageInk inkOn(const QImage& page) {
    const QImage image = prepared(page);
    const std::size_t count =
        static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height());
    return inkOf({reinterpret_cast<const std::uint32_t*>(image.constBits()), count}, image.width(),
                 image.height());
}

bool isWorthReading(const QString& text) {
    const auto points = text.toUcs4();
    return std::any_of(points.begin(), points.end(),
                       [](auto point) { return QChar::isLetterOrNumber(static_cast<char32_t>(point)); });
}

} // namespace

std::vector<std::string> linesOn(const QImage& page, const std::vector<std::unique_ptr<LineReader>>& readers,
                                 const std::atomic<bool>& isCancelled) {
    if (page.isNull()) {
        return {};
    }
    const PageInk ink = inkOn(page);
    auto pieces = piecesOf(ink);
    // Long ones first: whoever is done early takes a short one then.
    std::sort(pieces.begin(), pieces.end(), [](const TextPiece& one, const TextPiece& other) {
        return one.box.width() > other.box.width();
    });
    if (pieces.size() > mostPieces) {
        pieces.resize(mostPieces);
    }
    std::vector<LineReading> readings(pieces.size());
    std::atomic<std::size_t> next{0};
    const auto work = [&](LineReader& reader) {
        for (std::size_t piece = next++; piece < pieces.size() && !isCancelled; piece = next++) {
            readings[piece] = reader.read(pictureOf(ink, pieces[piece]), isCancelled);
        }
    };
    std::vector<std::thread> helpers;
    for (std::size_t reader = 1; reader < std::min(readers.size(), pieces.size()); ++reader) {
        const WithoutSignals meanwhile;
        try {
            helpers.emplace_back(work, std::ref(*readers[reader]));
        } catch (const std::system_error&) {
            break; // the system has no thread left: one reader is enough
        }
    }
    work(*readers.front());
    for (auto& helper : helpers) {
        helper.join();
    }
    for (const auto& reader : readers) {
        reader->clear();
    }
    if (isCancelled) {
        return {};
    }

    std::vector<PageBox> boxes;
    std::vector<const LineReading*> words;
    for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
        if (!readings[piece].text.empty() && readings[piece].confidence >= leastConfidence) {
            boxes.push_back(pieces[piece].box);
            words.push_back(&readings[piece]);
        }
    }
    std::vector<std::string> lines;
    for (const auto& line : readingOrder(boxes)) {
        std::string text;
        for (const auto piece : line) {
            text += text.empty() ? "" : " ";
            text += words[piece]->text;
        }
        if (isWorthReading(QString::fromStdString(text))) {
            lines.push_back(std::move(text));
        }
    }
    return lines;
}

} // namespace Linux
